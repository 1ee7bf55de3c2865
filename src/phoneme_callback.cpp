#include <kqtts/phoneme_callback.hpp>

namespace KQ {

// Defined here, so that only this library has the class's type information: engines and hosts in
// other libraries find the interface by dynamic_cast.
PhonemeCallback::PhonemeCallback() = default;
PhonemeCallback::~PhonemeCallback() = default;

}  // namespace KQ
