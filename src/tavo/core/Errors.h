// The identifiers of the framework's errors. Once released, an identifier is never given another meaning.
#pragma once

#include "tavo/core/Error.h"

namespace tavo {

/// In alphabetical order. The parentheses name the arguments, in the order of the placeholders in messages.toml; the
/// build checks both lists against each other. A "place" is a file name with line and column, or what there is of them.
struct FrameworkError {
  /// (path) A backup of a file has the name of something else.
  static constexpr ErrorId BackupExists{"tavo:io:BackupExists"};
  /// (object class, feature, expected class) An object of the wrong class is added to a feature.
  static constexpr ErrorId CannotAddIncompatibleTypes{"tavo:messages:CannotAddIncompatibleTypes"};
  /// (feature) An empty handle or a destroyed object is added.
  static constexpr ErrorId CannotAddNonExistentObject{"tavo:messages:CannotAddNonExistentObject"};
  /// (feature, object) A to-one containment is already set, or the object already has a container.
  static constexpr ErrorId CannotAddSecondObject{"tavo:messages:CannotAddSecondObject"};
  /// (operation, class) An operation is called through reflection that is not public.
  static constexpr ErrorId CannotCallOperation{"tavo:messages:CannotCallOperation"};
  /// (object class, target class) A handle is cast to a class that the object does not have.
  static constexpr ErrorId CannotCastIncompatibleTypes{"tavo:messages:CannotCastIncompatibleTypes"};
  /// (feature) A plain reference is made to an object of another model.
  static constexpr ErrorId CannotCreateCrossModelAssociation{"tavo:messages:CannotCreateCrossModelAssociation"};
  /// (class) An object is created without a model.
  static constexpr ErrorId CannotCreateWithoutModel{"tavo:messages:CannotCreateWithoutModel"};
  /// (class, feature) A feature of an unresolved proxy is written.
  static constexpr ErrorId CannotModifyProxy{"tavo:messages:CannotModifyProxy"};
  /// (path, reason) A file cannot be opened or read.
  static constexpr ErrorId CannotRead{"tavo:io:CannotRead"};
  /// (feature, class) A read-only or derived property is written through reflection.
  static constexpr ErrorId CannotSetReadOnlyProperty{"tavo:messages:CannotSetReadOnlyProperty"};
  /// (path, reason) A file cannot be written; what stood there before is unchanged.
  static constexpr ErrorId CannotWrite{"tavo:io:CannotWrite"};
  /// () A key, a reference or a containment is changed where only values may change, and unrecorded.
  static constexpr ErrorId ChangeMustBeRecorded{"tavo:messages:ChangeMustBeRecorded"};
  /// (feature) A collection was changed while somebody iterated over it.
  static constexpr ErrorId CollectionChangedWhileIterating{"tavo:messages:CollectionChangedWhileIterating"};
  /// (feature, class) An object is added to something that it contains itself.
  static constexpr ErrorId ContainmentCycle{"tavo:messages:ContainmentCycle"};
  /// (place, feature, target) A file refers to an object that it does not hold.
  static constexpr ErrorId DanglingReference{"tavo:messages:DanglingReference"};
  /// (place, identity) Two objects of a model have one identity.
  static constexpr ErrorId DuplicateIdentity{"tavo:messages:DuplicateIdentity"};
  /// (path) A file to be overwritten is not the one that was loaded.
  static constexpr ErrorId FileChangedOnDisk{"tavo:io:FileChangedOnDisk"};
  /// (place, bytes) What evolution makes of a file is many times what the file says.
  static constexpr ErrorId FileGrowsTooLarge{"tavo_evo:messages:FileGrowsTooLarge"};
  /// (path) There is no file of this name.
  static constexpr ErrorId FileNotFound{"tavo:io:FileNotFound"};
  /// (what it says) The cause of an error was an exception that is not of this framework.
  static constexpr ErrorId ForeignException{"tavo:messages:ForeignException"};
  /// (class, base class, version) A class was compiled on another version of its base class than the loaded one.
  static constexpr ErrorId IncompatibleLibrary{"tavo:messages:IncompatibleLibrary"};
  /// (version found, family, version supported, place) A file was written by a newer or unknown version of a schema.
  static constexpr ErrorId InvalidFamilyVersion{"tavo_evo:messages:InvalidFamilyVersion"};
  /// (place, reason) A text in a file does not read as the value that belongs there.
  static constexpr ErrorId InvalidText{"tavo:messages:InvalidText"};
  /// (position) A text has half of a surrogate pair where UTF-8 is asked for.
  static constexpr ErrorId InvalidUtf16{"tavo:messages:InvalidUtf16"};
  /// (position) A text is not strict UTF-8.
  static constexpr ErrorId InvalidUtf8{"tavo:messages:InvalidUtf8"};
  /// (value, feature, expected type) A value does not fit the type of a property.
  static constexpr ErrorId InvalidValue{"tavo:messages:InvalidValue"};
  /// (place, limit, value) An input is larger or deeper than the host allows.
  static constexpr ErrorId LimitExceeded{"tavo:messages:LimitExceeded"};
  /// (place, fault) A file is not well-formed XML, or uses what is not accepted.
  static constexpr ErrorId MalformedXml{"tavo:messages:MalformedXml"};
  /// () A model is changed that the host has frozen or that is announcing a change.
  static constexpr ErrorId ModelFrozen{"tavo:messages:ModelFrozen"};
  /// () The contents of a model are moved into another while a transaction of it is open.
  static constexpr ErrorId MoveInsideTransaction{"tavo:messages:MoveInsideTransaction"};
  /// (class) An empty handle or a handle of a destroyed object is used.
  static constexpr ErrorId NonExistentObject{"tavo:messages:NonExistentObject"};
  /// (property, class) A property name or number is not in the class.
  static constexpr ErrorId NoSuchProperty{"tavo:messages:NoSuchProperty"};
  /// (type) A class name or identifier is not in the metamodel.
  static constexpr ErrorId NoSuchType{"tavo:messages:NoSuchType"};
  /// (path) What is to be read or replaced is a folder, a device or a pipe.
  static constexpr ErrorId NotARegularFile{"tavo:io:NotARegularFile"};
  /// (operation) The operation is declared, and not written yet.
  static constexpr ErrorId NotAvailable{"tavo:messages:NotAvailable"};
  /// (version found, family, version supported, place) A file was written by an older version of a schema than this
  /// build reads.
  static constexpr ErrorId OldFamilyVersion{"tavo_evo:messages:OldFamilyVersion"};
  /// (path, reason) A file has been saved, but its folder could not be synced.
  static constexpr ErrorId SavedButNotSynced{"tavo:io:SavedButNotSynced"};
  /// (rounds) Listeners kept changing the model in answer to their own changes.
  static constexpr ErrorId TooManyListenerRounds{"tavo:messages:TooManyListenerRounds"};
  /// (object, class) An object is to be saved that nothing contains and that may not stand alone.
  static constexpr ErrorId UncontainedObject{"tavo:messages:UncontainedObject"};
  /// () Undo or redo is asked for while a transaction is open.
  static constexpr ErrorId UndoInsideTransaction{"tavo:messages:UndoInsideTransaction"};
  /// (feature, key) A keyed or unique collection receives a second object of one key.
  static constexpr ErrorId UniquenessConstraint{"tavo:messages:UniquenessConstraint"};
  /// (place, class, family) A file holds objects of a class that this build does not have.
  static constexpr ErrorId UnknownClass{"tavo:messages:UnknownClass"};
  /// (place, family) A file uses a schema that this build does not have.
  static constexpr ErrorId UnknownFamily{"tavo:messages:UnknownFamily"};
  /// (place, feature, class) A file holds a feature that this build does not have.
  static constexpr ErrorId UnknownFeature{"tavo:messages:UnknownFeature"};
};

} // namespace tavo
