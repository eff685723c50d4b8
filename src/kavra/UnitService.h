// What the library asks of the host about units of measurement.
#pragma once

#include "kavra/Export.h"

#include <string>
#include <string_view>
#include <vector>

namespace kavra {

/// An affine map between two units: a number `x` in the first is `x * factor + offset` in the second.
struct UnitConversion {
  double factor = 1;
  double offset = 0;

  friend bool operator==(const UnitConversion&, const UnitConversion&) = default;
};

class KAVRA_EXPORT UnitService {
public:
  virtual ~UnitService();

  /// Raises kavra::Error when the text is not a unit expression that the service knows.
  virtual void checkUnit(std::u16string_view unit) const = 0;

  /// True when both texts name the same unit in different words ("N*m" and "J"); false when either is unknown.
  virtual bool areEquivalent(std::u16string_view a, std::u16string_view b) const = 0;

  /// True when numbers in one unit can be converted to the other; false when either is unknown.
  virtual bool areConvertible(std::u16string_view a, std::u16string_view b) const = 0;

  /// The map from `from` to `to`. Raises kavra::Error when either is unknown or they do not convert.
  virtual UnitConversion conversion(std::u16string_view from, std::u16string_view to) const = 0;

  /// The number `value` of `from` in `to`; raises as `conversion` does. A service that computes more exactly than
  /// two rounded numbers allow overrides this: 3 in is 76.2 mm.
  virtual double convert(double value, std::u16string_view from, std::u16string_view to) const;

  /// Known units close to the text, best first: those it converts to when it is a unit, those spelled like it when
  /// it is none. Empty when there are none.
  virtual std::vector<std::u16string> similarUnits(std::u16string_view text) const = 0;
};

} // namespace kavra
