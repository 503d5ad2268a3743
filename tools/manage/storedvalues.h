#pragma once

// What the program reads from the user's store and changes there: the configuration document, through the
// library's own reading and writing, and single values. A change is one step that no game comes between, and
// it happens whole or not at all.

#include <filesystem>
#include <functional>
#include <string>

#include "orb3core/settings/configuration.h"
#include "orb3core/store/configstore.h"

namespace tool {

/// The file of the user's store, for messages.
std::filesystem::path StoreFile();

/// The text under `key`, empty when there is none. Throws slib::BadStateException when the store can't be
/// read: what is there isn't taken for nothing.
std::string ReadValue(const std::string& key);

/// Puts what `change` makes of the text under `key` in its place. Throws slib::BadStateException when the
/// store can't be read or written; passes on what `change` throws, and then nothing was changed.
void ReplaceValue(const std::string& key, const std::function<std::string(const std::string&)>& change);

/// Changes several values as one step, and notes them as one for undo (ChangeStep), as all others here do.
/// Throws slib::BadStateException when the store can't be written, and what `change` throws; then nothing was
/// changed.
void UpdateStore(const std::function<void(orb3::OpenStore&)>& change);

/// The same, without a note.
void UpdateStoreUnnoted(const std::function<void(orb3::OpenStore&)>& change);

/// The document's text as it is stored, empty when there is none. Throws as ReadValue.
std::string ReadDocumentText();

/// The document, or the defaults that a start would take where none is stored, which measures the machine for
/// a second. Throws slib::BadDataException when the stored one can't be used, or may be in lines that can't,
/// and as ReadValue.
orb3::Configuration ReadDocument();

/// The same, but for the measuring.
orb3::Configuration PeekDocument();

/// Whether a change may spoil the sound (CheckSense).
enum class Force { No, Yes };

/// Changes the document. Throws as ReadDocument, ReplaceValue and CheckSense.
void ChangeDocument(const std::function<void(orb3::Configuration&)>& change, Force force = Force::No);

/// Puts `text` in the document's place; an empty text means that there is none. True when the one before
/// couldn't be used, and was kept, as the log says then (orb3::keptText).
bool StoreDocumentText(const std::string& text);

/// Exchanges the document and the one that was kept. Throws slib::BadStateException when none was.
void RestoreKeptDocument();

/// What documents look like in the store.
std::string DocumentText(const orb3::Configuration& configuration);

/// Reads a document. Throws slib::BadDataException.
orb3::Configuration ParseDocument(const std::string& text);

}  // namespace tool
