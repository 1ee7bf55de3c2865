#include "segment.hpp"

#include <algorithm>

namespace KQ::speaking {

namespace {

std::size_t textPositionIn(const Origin& origin, std::size_t engineOffset) {
  return origin.isVerbatim ? origin.textOffset + (engineOffset - origin.engineOffset)
                           : origin.textOffset;
}

std::size_t endOf(const Origin& origin, std::size_t engineEnd) {
  if (!origin.isVerbatim || engineEnd >= origin.engineOffset + origin.engineLength) {
    return origin.textOffset + origin.textLength;
  }
  return origin.textOffset + (engineEnd - origin.engineOffset);
}

}  // namespace

Segment::Place Segment::placeOf(std::size_t engineOffset, std::size_t engineLength) const {
  const std::size_t engineEnd = engineOffset + engineLength;
  auto origin = std::upper_bound(origins.begin(), origins.end(), engineOffset,
                                 [](std::size_t offset, const Origin& candidate) {
                                   return offset < candidate.engineOffset + candidate.engineLength;
                                 });
  if (origin == origins.end()) {
    return {textEnd, 0};
  }
  const std::size_t begin = textPositionIn(*origin, std::max(engineOffset, origin->engineOffset));
  std::size_t end = begin;
  for (; origin != origins.end() && origin->engineOffset < engineEnd; ++origin) {
    end = endOf(*origin, engineEnd);
  }
  return {begin, end - begin};
}

void Segment::beginAt(std::size_t textOffset) {
  auto origin = std::find_if(origins.begin(), origins.end(), [&](const Origin& candidate) {
    return candidate.textOffset + candidate.textLength > textOffset;
  });
  std::size_t cut = text.size();
  if (origin != origins.end()) {
    const std::size_t inside =
        origin->isVerbatim && textOffset > origin->textOffset ? textOffset - origin->textOffset : 0;
    cut = origin->engineOffset + inside;
  }
  const std::size_t removed = cut - std::min(cut, settingsLength);
  if (removed == 0) {
    return;
  }
  text.erase(settingsLength, removed);
  origins.erase(origins.begin(), origin);
  for (Origin& left : origins) {
    const std::size_t lost =
        left.isVerbatim && textOffset > left.textOffset ? textOffset - left.textOffset : 0;
    left.engineOffset = left.engineOffset + lost - removed;
    left.engineLength -= lost;
    left.textOffset += lost;
    left.textLength -= lost;
  }
  marks.erase(std::remove_if(marks.begin(), marks.end(),
                             [&](const SegmentMark& mark) { return mark.textOffset < textOffset; }),
              marks.end());
  textBegin = std::max(textBegin, textOffset);
  joinsPrevious = false;
}

}  // namespace KQ::speaking
