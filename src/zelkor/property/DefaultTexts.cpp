#include "zelkor/property/DefaultTexts.h"

namespace zelkor::property {

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
