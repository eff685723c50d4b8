// The unit service of the built-in host.
#pragma once

#include "kavra/Error.h"
#include "kavra/UnitService.h"
#include "kavra/standalone/units/UnitTable.h"

#include <memory>

namespace kavra::standalone {

/// Answers from a unit table and remembers the texts it has read, for use on one thread. The empty text means
/// that no unit is stated; it is accepted and taken for 1.
class KAVRA_EXPORT UnitTableService final : public UnitService {
public:
  explicit UnitTableService(UnitTable table = UnitTable::builtIn());

  const UnitTable& table() const { return table_; }
  /// Adds units in the form of units.toml; see UnitTable::add.
  void addUnits(std::string_view toml);

  void checkUnit(std::u16string_view unit) const override;
  bool areEquivalent(std::u16string_view a, std::u16string_view b) const override;
  bool areConvertible(std::u16string_view a, std::u16string_view b) const override;
  UnitConversion conversion(std::u16string_view from, std::u16string_view to) const override;
  double convert(double value, std::u16string_view from, std::u16string_view to) const override;
  std::vector<std::u16string> similarUnits(std::u16string_view text) const override;

private:
  using UnitHandle = std::shared_ptr<const Unit>;
  const UnitHandle& read(std::u16string_view text) const;
  UnitHandle readIfKnown(std::u16string_view text) const;
  /// The text with the word that the error names replaced by those spelled like it.
  std::vector<std::u16string> corrections(std::u16string_view text, const Error& error) const;
  std::pair<UnitHandle, UnitHandle> requireConvertible(std::u16string_view from, std::u16string_view to) const;

  UnitTable table_;
  mutable TextMap<UnitHandle> known_; // texts read before; emptied when it grows beyond any real model
};

} // namespace kavra::standalone
