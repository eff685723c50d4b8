// Enumeration classes in files `<Class>.enum.toml`:
//
//   default = "Green"                        # optional; the first member otherwise
//   members = [
//     { name = "Red", value = 0 },           # the value is optional; one more than the one before otherwise
//     { name = "Green", value = 1 },
//   ]
#pragma once

#include "kavra/EnumerationClass.h"

#include <filesystem>

namespace kavra {

/// The name of the file in which an enumeration class is looked for.
KAVRA_EXPORT std::filesystem::path enumerationFileName(std::u16string_view className);

/// Reads the text of such a file; `file` is for messages only. Raises "kavra:messages:InvalidEnumerationFile" with the
/// arguments file, line and problem.
KAVRA_EXPORT EnumerationDefinition parseEnumeration(std::u16string_view className, std::string_view toml,
                                                    const std::filesystem::path& file);

/// As parseEnumeration; raises "kavra:messages:CannotReadEnumerationFile" (file) when the file cannot be read.
KAVRA_EXPORT EnumerationDefinition readEnumerationFile(std::u16string_view className,
                                                       const std::filesystem::path& file);

/// The text that reads back as the same definition; the same definition always gives the same bytes.
KAVRA_EXPORT std::string renderEnumeration(const EnumerationDefinition& definition);

} // namespace kavra
