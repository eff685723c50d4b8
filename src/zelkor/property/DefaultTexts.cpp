#include "zelkor/property/DefaultTexts.h"

#include <algorithm>

namespace zelkor::property {

bool isSingle(const Dimensions& dimensions) {
  return std::all_of(dimensions.begin(), dimensions.end(), [](std::uint64_t extent) { return extent == 1; });
}

Dimensions asExtents(const Dimensions& dimensions) {
  if (dimensions.empty())
    return {1, 1};
  if (dimensions.size() == 1)
    return {1, dimensions.front()};
  return dimensions;
}

std::string extentsText(const Dimensions& dimensions) {
  std::string text;
  for (const std::uint64_t extent : asExtents(dimensions)) {
    if (!text.empty())
      text += ' ';
    text += std::to_string(extent);
  }
  return text;
}

tavo::String filledText(const std::string& number, const Dimensions& dimensions, std::string_view className) {
  if (isSingle(dimensions))
    return tavo::String::fromUtf8(number);
  std::string text = number == "0" ? "zeros([" : number + "*ones([";
  text += extentsText(dimensions) + "]";
  if (!className.empty())
    text.append(",'").append(className).append("'");
  return tavo::String::fromUtf8(text + ")");
}

} // namespace zelkor::property
