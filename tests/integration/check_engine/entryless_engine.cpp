// A library that is no engine plug-in.
extern "C" __attribute__((visibility("default"))) int unload_plugin() {
  return 0;
}
