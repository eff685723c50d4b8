// The identifiers of the library's errors. Once released, an identifier is never given another meaning.
#pragma once

#include "tavo/core/Error.h"

namespace zelkor {

using tavo::ErrorId;
using tavo::raise;
using tavo::raiseBecause;

// Each list is in alphabetical order. The parentheses name the arguments, in the order of the placeholders in
// messages.toml; the build checks both lists against each other.

struct ProfileError {
  /// () A file of the retired kind of profiles is to be loaded.
  static constexpr ErrorId APFXExtensionDeprecated{"Velmora:Profile:APFXExtensionDeprecated"};
  /// (stereotype, element, its kind) A stereotype does not apply to an element, or its profile is not in use.
  static constexpr ErrorId CannotApplyPrototype{"Velmora:Profile:CannotApplyPrototype"};
  /// (name, release, path) A profile or model cannot be written in the schema of an earlier release.
  static constexpr ErrorId CannotExportToPrevious{"Velmora:Profile:CannotExportToPrevious"};
  /// (profile, model) A profile that is not in order is to be used in a model.
  static constexpr ErrorId CannotImportUnhealthyProfileIntoModel{
      "Velmora:Profile:CannotImportUnhealthyProfileIntoModel"};
  /// (file, version found) A profile is of a release that this build does not know, perhaps a newer one.
  static constexpr ErrorId CannotLoadFutureVersion{"Velmora:Profile:CannotLoadFutureVersion"};
  /// (profile, other profile) Two profiles would depend, or do depend, on each other.
  static constexpr ErrorId CircularProfileDependency{"Velmora:Profile:CircularProfileDependency"};
  /// (stereotype, parent) A stereotype would be, or is, its own ancestor.
  static constexpr ErrorId CircularPrototypeInheritance{"Velmora:Profile:CircularPrototypeInheritance"};
  /// (profile) A profile is loaded although something in it is wrong.
  static constexpr ErrorId ErrorLoadingProfile{"Velmora:Profile:ErrorLoadingProfile"};
  /// (release) What was written for a release is not the same when it is opened again.
  static constexpr ErrorId ExportDiffers{"Velmora:Profile:ExportDiffers"};
  /// (profile) A profile's file would be replaced by a copy for another release.
  static constexpr ErrorId ExportOverProfile{"Velmora:Profile:ExportOverProfile"};
  /// (base) What a stereotype is to be based on is neither a kind of element nor a loaded stereotype.
  static constexpr ErrorId InvalidBaseStereotype{"Velmora:Profile:InvalidBaseStereotype"};
  /// () A stereotype that does not apply to components is to be the default of components.
  static constexpr ErrorId InvalidComponentDefault{"Velmora:Profile:InvalidComponentDefault"};
  /// (stereotype) A stereotype that does not apply to connectors is to be their default.
  static constexpr ErrorId InvalidConnectorDefault{"Velmora:Profile:InvalidConnectorDefault"};
  /// (stereotype) A stereotype that does not apply to ports is to be their default.
  static constexpr ErrorId InvalidPortDefault{"Velmora:Profile:InvalidPortDefault"};
  /// (name) A profile's name is not a valid name of the host.
  static constexpr ErrorId InvalidProfileName{"Velmora:Profile:InvalidProfileName"};
  /// (name) A property's name is not a valid name of the host.
  static constexpr ErrorId InvalidPropertyName{"Velmora:Profile:InvalidPropertyName"};
  /// (name) A property set's name is not a valid name of the host.
  static constexpr ErrorId InvalidPropertySetName{"Velmora:Profile:InvalidPropertySetName"};
  /// (name) A stereotype's name is not a valid name of the host.
  static constexpr ErrorId InvalidPrototypeName{"Velmora:Profile:InvalidPrototypeName"};
  /// (profile) A profile that another one refers to cannot be loaded.
  static constexpr ErrorId MissingDependentProfile{"Velmora:Profile:MissingDependentProfile"};
  /// () No error but a text: an element carries no stereotype.
  static constexpr ErrorId None{"Velmora:Profile:None"};
  /// (name) A property is to get a name that another one of its set has.
  static constexpr ErrorId NonUniquePropertyName{"Velmora:Profile:NonUniquePropertyName"};
  /// (property, stereotype that has it) Two stereotypes of one line of inheritance have properties of one name.
  static constexpr ErrorId NonUniquePropertyNamesInHierarchy{"Velmora:Profile:NonUniquePropertyNamesInHierarchy"};
  /// (property, set) A set already has a property of that name.
  static constexpr ErrorId NonUniquePropertyNamesInPropertySet{"Velmora:Profile:NonUniquePropertyNamesInPropertySet"};
  /// (name) A stereotype or property set is to get a name that another one of its profile has.
  static constexpr ErrorId NonUniquePrototypeName{"Velmora:Profile:NonUniquePrototypeName"};
  /// (file) A file does not hold exactly one profile, or would not.
  static constexpr ErrorId NotAProfile{"Velmora:Profile:NotAProfile"};
  /// (release) Nothing is known about how to write the schema of a release.
  static constexpr ErrorId NoWayToRelease{"Velmora:Profile:NoWayToRelease"};
  /// (name) A profile of that name is already loaded.
  static constexpr ErrorId ProfileAlreadyExists{"Velmora:Profile:ProfileAlreadyExists"};
  /// (stored name, name of the file, file) A profile is saved under another name than its own.
  static constexpr ErrorId ProfileNameDiffersFromFile{"Velmora:Profile:ProfileNameDiffersFromFile"};
  /// (file) There is no file for a profile.
  static constexpr ErrorId ProfileNotFound{"Velmora:Profile:ProfileNotFound"};
  /// () The catalog of profiles is used before it is ready.
  static constexpr ErrorId ProfileNotInitialized{"Velmora:Profile:ProfileNotInitialized"};
  /// (profile, dependency) A profile that another one refers to cannot be had.
  static constexpr ErrorId ProfileProxyResolveFailed{"Velmora:Profile:ProfileProxyResolveFailed"};
  /// (release, number, the first ones) A release cannot hold everything, and that was asked for.
  static constexpr ErrorId ReleaseLoses{"Velmora:Profile:ReleaseLoses"};
  /// (profile) A profile that cannot be had is to be removed from a model.
  static constexpr ErrorId RemoveProfileFailed{"Velmora:Profile:RemoveProfileFailed"};
  /// (stereotype) No error but a text: an element carries a stereotype.
  static constexpr ErrorId StereotypeBadgeTooltip{"Velmora:Profile:StereotypeBadgeTooltip"};
};

struct ArchitectureError {
  /// (stereotype, element) A stereotype of an old model cannot be applied, because it or the element cannot be had.
  static constexpr ErrorId CannotMigrateStereotype{"Velmora:Architecture:CannotMigrateStereotype"};
  /// (property, element, expression) A value of an old model cannot be set.
  static constexpr ErrorId CannotMigrateValue{"Velmora:Architecture:CannotMigrateValue"};
  /// (model) Something of an old model could not be taken over.
  static constexpr ErrorId FailedToMigrateLinnetModel{"Velmora:Architecture:FailedToMigrateLinnetModel"};
  /// (file, usage) A model lacks parts that belong to the usage of a property set.
  static constexpr ErrorId IncompleteModel{"Velmora:Architecture:IncompleteModel"};
  /// (file, things) A model that has lost something while it was brought up to date would replace the file that has it.
  static constexpr ErrorId MigrationIncomplete{"Velmora:Architecture:MigrationIncomplete"};
  /// (file) A file does not hold an architecture model.
  static constexpr ErrorId NotAnArchitectureModel{"Velmora:Architecture:NotAnArchitectureModel"};
  /// (profile) A profile is to be removed from a model that does not use it.
  static constexpr ErrorId ProfileNotAttached{"Velmora:Architecture:ProfileNotAttached"};
  /// (profile, fault) A model is to follow a profile in which the health check has found a fault.
  static constexpr ErrorId UnhealthyProfile{"Velmora:Architecture:UnhealthyProfile"};
};

struct FixitError {
  /// (model) What a model uses of its profiles is not what they hold now.
  static constexpr ErrorId ProfileOutdated{"Velmora:qkFixitWorkflows:ProfileOutdated"};
};

struct PropertyError {
  /// (type) A value type would narrow itself, directly or through others.
  static constexpr ErrorId BaseTypeCycle{"Velmora:Property:BaseTypeCycle"};
  /// (text) A text cannot be evaluated.
  static constexpr ErrorId CannotEvalExpression{"Velmora:Property:CannotEvalExpression"};
  /// (type name) There is no value type of that name.
  static constexpr ErrorId CantFindType{"Velmora:Property:CantFindType"};
  /// () A value of this type cannot have units.
  static constexpr ErrorId CantHaveUnit{"Velmora:Property:CantHaveUnit"};
  /// (default expression) The default of a property does not fit the type that it is to get.
  static constexpr ErrorId DefaultValueIncompatibleWithType{"Velmora:Property:DefaultValueIncompatibleWithType"};
  /// (property) A value of an element cannot be set; the cause says why.
  static constexpr ErrorId ErrorSettingPropertyValue{"Velmora:Property:ErrorSettingPropertyValue"};
  /// (target, URI) The element that a proxy stands for cannot be had.
  static constexpr ErrorId FailedProxyResolve{"Velmora:Property:FailedProxyResolve"};
  /// () A bound of a floating-point type is not a double.
  static constexpr ErrorId FloatMaxMinMustBeDouble{"Velmora:Property:FloatMaxMinMustBeDouble"};
  /// () A property in use is to be initialised from one of another definition.
  static constexpr ErrorId InitFromPropertyUsageMismatch{"Velmora:Property:InitFromPropertyUsageMismatch"};
  /// () A value is to be taken from one whose type is of another kind.
  static constexpr ErrorId InitFromValueMismatch{"Velmora:Property:InitFromValueMismatch"};
  /// () A bound of an integer type is not an int64.
  static constexpr ErrorId IntegerMaxMinMustBeInt64{"Velmora:Property:IntegerMaxMinMustBeInt64"};
  /// () A value is not logical.
  static constexpr ErrorId InvalidBooleanPropValue{"Velmora:Property:InvalidBooleanPropValue"};
  /// (property, default expression) The default of a property is not a value of its type.
  static constexpr ErrorId InvalidDefaultValue{"Velmora:Property:InvalidDefaultValue"};
  /// (dimensions of the value, dimensions of the type) A value has the wrong shape.
  static constexpr ErrorId InvalidDimensions{"Velmora:Property:InvalidDimensions"};
  /// () The default of a property has not the dimensions that the property is to get.
  static constexpr ErrorId InvalidDimensionsForDefaultValue{"Velmora:Property:InvalidDimensionsForDefaultValue"};
  /// () The enumeration class of a type does not exist.
  static constexpr ErrorId InvalidEnum{"Velmora:Property:InvalidEnum"};
  /// () A value is a member of another enumeration.
  static constexpr ErrorId InvalidEnumLiteral{"Velmora:Property:InvalidEnumLiteral"};
  /// () A value is neither a member of the enumeration nor the name of one.
  static constexpr ErrorId InvalidEnumPropValue{"Velmora:Property:InvalidEnumPropValue"};
  /// () A type is to name an enumeration class that does not exist.
  static constexpr ErrorId InvalidEnumString{"Velmora:Property:InvalidEnumString"};
  /// (class) The host cannot read the class of an enumeration.
  static constexpr ErrorId InvalidIllDefinedEnum{"Velmora:Property:InvalidIllDefinedEnum"};
  /// () A value is not a whole number.
  static constexpr ErrorId InvalidIntegerPropValue{"Velmora:Property:InvalidIntegerPropValue"};
  /// (minimum, maximum) A whole number is out of its bounds.
  static constexpr ErrorId InvalidIntegerPropValueMinMax{"Velmora:Property:InvalidIntegerPropValueMinMax"};
  /// (new maximum, maximum of the base type) A type would allow more than its base type.
  static constexpr ErrorId InvalidMax{"Velmora:Property:InvalidMax"};
  /// (default expression, maximum) The default of a property is above its new maximum.
  static constexpr ErrorId InvalidMaxForDefaultValue{"Velmora:Property:InvalidMaxForDefaultValue"};
  /// (new minimum, minimum of the base type) A type would allow less than its base type.
  static constexpr ErrorId InvalidMin{"Velmora:Property:InvalidMin"};
  /// (default expression, minimum) The default of a property is below its new minimum.
  static constexpr ErrorId InvalidMinForDefaultValue{"Velmora:Property:InvalidMinForDefaultValue"};
  /// (default expression, minimum, maximum) The default of a property is out of its new bounds.
  static constexpr ErrorId InvalidMinMaxForDefaultValue{"Velmora:Property:InvalidMinMaxForDefaultValue"};
  /// () A value is not a number.
  static constexpr ErrorId InvalidRealPropValue{"Velmora:Property:InvalidRealPropValue"};
  /// (minimum, maximum) A number is out of its bounds.
  static constexpr ErrorId InvalidRealPropValueMinMax{"Velmora:Property:InvalidRealPropValueMinMax"};
  /// () A value is not a text.
  static constexpr ErrorId InvalidStringPropValue{"Velmora:Property:InvalidStringPropValue"};
  /// () A value is not a list of texts.
  static constexpr ErrorId InvalidTagFormat{"Velmora:Property:InvalidTagFormat"};
  /// (text) An entry of a list of tags is not a valid name.
  static constexpr ErrorId InvalidTagName{"Velmora:Property:InvalidTagName"};
  /// (new maximum, minimum) A maximum would be below the minimum.
  static constexpr ErrorId MaxLessThanMin{"Velmora:Property:MaxLessThanMin"};
  /// () A numeric type has not both bounds, neither of its own nor from its base types.
  static constexpr ErrorId MaxMinMustBeDefined{"Velmora:Property:MaxMinMustBeDefined"};
  /// () Bounds are given to a property whose type is not numeric.
  static constexpr ErrorId MaxMinMustOnlyOnFloatOrInteger{"Velmora:Property:MaxMinMustOnlyOnFloatOrInteger"};
  /// (new minimum, maximum) A minimum would be above the maximum.
  static constexpr ErrorId MinGreaterThanMax{"Velmora:Property:MinGreaterThanMax"};
  /// (element) The model in which an element lives has no identifier by which other models could refer to it.
  static constexpr ErrorId ModelCannotBeReferred{"Velmora:Property:ModelCannotBeReferred"};
  /// (property) An element has no property of that name.
  static constexpr ErrorId PropertyNotFound{"Velmora:Property:PropertyNotFound"};
  /// () Units are given to a value whose type has none.
  static constexpr ErrorId TypeDoesntHaveUnit{"Velmora:Property:TypeDoesntHaveUnit"};
  /// (old name, new name) A profile that is to be renamed is not in use.
  static constexpr ErrorId UnableToRenameProfile{"Velmora:Property:UnableToRenameProfile"};
  /// (new units, units of the base type) The units of a type differ from those of its base type.
  static constexpr ErrorId UnitMustBeSameAsBaseType{"Velmora:Property:UnitMustBeSameAsBaseType"};
  /// (new units, units of the type) Units cannot be converted to those of the type.
  static constexpr ErrorId UnitsNotConvertible{"Velmora:Property:UnitsNotConvertible"};
  /// (definition or type) What a value depends on cannot be had.
  static constexpr ErrorId UnresolvedPropertyDefinition{"Velmora:Property:UnresolvedPropertyDefinition"};
  /// (usage) The property set of a usage cannot be had.
  static constexpr ErrorId UnresolvedPropertySet{"Velmora:Property:UnresolvedPropertySet"};
  /// (text) A text is given to a value that has no type.
  static constexpr ErrorId ValueHasNoType{"Velmora:Property:ValueHasNoType"};
  /// (property, how many) Values of elements are dropped, because these no longer have the property.
  static constexpr ErrorId ValuesDropped{"Velmora:Property:ValuesDropped"};
  /// (property, how many) A property changed so that values of elements are no longer values of its type.
  static constexpr ErrorId ValuesNoLongerFit{"Velmora:Property:ValuesNoLongerFit"};
};

} // namespace zelkor
