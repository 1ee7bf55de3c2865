// A library that is no engine plug-in.

extern "C" __attribute__((visibility("default"))) int anything() {
  return 0;
}
