// A plug-in that needs a library which is not installed.

int somethingNeeded();

extern "C" __attribute__((visibility("default"))) void* load_plugin() {
  return somethingNeeded() == 0 ? nullptr : nullptr;
}
