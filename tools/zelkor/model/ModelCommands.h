// What the command `zelkor` does with models, one function a subcommand. Each prints its result and returns the exit
// status.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace zelkor::command {

enum class TableFormat { text, json, csv };

/// The architecture is called like the file unless it is given a `name`.
int newModel(const std::filesystem::path& model, const std::string& name);
/// `kind` is "component", "port" or "connector"; the ends are for connectors.
int addElement(const std::filesystem::path& model, const std::string& path, const std::string& kind,
               const std::string& source, const std::string& target);
int importProfile(const std::filesystem::path& model, const std::string& profile);
/// `missing` allows for one that cannot be had; what it brought goes with it.
int removeProfile(const std::filesystem::path& model, const std::string& profile, bool missing);
int applyStereotype(const std::filesystem::path& model, const std::string& element, const std::string& stereotype);
/// `missing` allows for one whose profile cannot be had.
int unapplyStereotype(const std::filesystem::path& model, const std::string& element, const std::string& stereotype,
                      bool missing);
/// With `isText` the value is a text and not an expression. Without units, they stay as they are.
int setValue(const std::filesystem::path& model, const std::string& element, const std::string& property,
             const std::string& value, const std::optional<std::string>& units, bool isText);
/// Sets what a table says, all of it or nothing.
int setValues(const std::filesystem::path& model, const std::filesystem::path& table);
int clearValue(const std::filesystem::path& model, const std::string& element, const std::string& property);
int getValue(const std::filesystem::path& model, const std::string& element, const std::string& property, bool json);
int values(const std::filesystem::path& model, TableFormat format);
int synchronize(const std::filesystem::path& model, bool dryRun, bool json);
int explain(const std::filesystem::path& model, const std::string& element, const std::string& property, bool json);

} // namespace zelkor::command
