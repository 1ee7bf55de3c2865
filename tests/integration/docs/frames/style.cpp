// What the examples of style take for granted.
#include <mutex>
#include <string>

void requireActive(const char* method);
void xStop();
std::mutex mutex;

// fragments
