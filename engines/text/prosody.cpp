#include "text/prosody.hpp"

namespace KQ::engines {

void Prosody::apply(const MarkupItem& item) {
  using Kind = MarkupItem::Kind;
  switch (item.kind) {
    case Kind::volume:
      volume = item.value;
      break;
    case Kind::speed:
      speed = item.value;
      break;
    case Kind::pitch:
      pitch = item.value;
      break;
    case Kind::reset:
      *this = Prosody();
      break;
    case Kind::text:
    case Kind::pause:
    case Kind::mark:
    case Kind::style:
    case Kind::last:
    case Kind::ignored:
      break;
  }
}

}  // namespace KQ::engines
