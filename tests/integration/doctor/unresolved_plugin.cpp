// A plug-in that needs a function that no library has.

extern "C" void* functionThatNobodyHas();

extern "C" __attribute__((visibility("default"))) void* load_plugin() {
  return functionThatNobodyHas();
}
