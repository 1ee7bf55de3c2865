// The frame of the style examples.
#include <mutex>
#include <string>

void requireActive(const char* method);
void xStop();
std::mutex mutex;

// fragments
