#include <kqtts/phoneme_callback.hpp>

namespace KQ {

// Out of line, so that the class's type information stands in this library alone: engines and hosts
// that are separate libraries find the interface by dynamic_cast.
PhonemeCallback::PhonemeCallback() = default;
PhonemeCallback::~PhonemeCallback() = default;

}  // namespace KQ
