// A library that a plug-in needs, and that is not where it is looked for.

__attribute__((visibility("default"))) int somethingNeeded() {
  return 0;
}
