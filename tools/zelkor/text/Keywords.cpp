#include "tools/zelkor/text/Keywords.h"

namespace zelkor::text {

const std::vector<std::string>& builtInTypes() {
  static const std::vector<std::string> names{"boolean", "int64", "int32",  "int16",  "int8",   "uint64",     "uint32",
                                              "uint16",  "uint8", "double", "single", "string", "stringArray"};
  return names;
}

const std::vector<std::string>& kindsOfValues() {
  static const std::vector<std::string> names{"real", "integer", "boolean", "string", "stringArray"};
  return names;
}

const std::vector<std::string>& icons() {
  static const std::vector<std::string> names{"none",    "custom",     "software",  "hardware", "processor",
                                              "network", "bus",        "sensor",    "actuator", "storage",
                                              "power",   "mechanical", "interface", "person"};
  return names;
}

const std::vector<std::string>& lineStyles() {
  static const std::vector<std::string> names{"default", "solid", "dashed", "dotted", "dashdot"};
  return names;
}

} // namespace zelkor::text
