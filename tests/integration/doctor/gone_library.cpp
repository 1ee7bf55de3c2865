// A library that a plug-in needs, in a folder that the loader does not search.

__attribute__((visibility("default"))) int somethingNeeded() {
  return 0;
}
