#include <iostream>
#include <memory>
#include <string>

#include "orb3core/settings/documentchange.h"
#include "orb3core/store/configstore.h"
#include "platform/storefile.h"
#include "slib/files.h"
#include "slib/sxml.h"
#include "tools/config/commands.h"
#include "tools/config/warnings.h"
#include "tools/manage/allsettings.h"
#include "tools/manage/history.h"
#include "tools/manage/sense.h"
#include "tools/manage/settings.h"
#include "tools/manage/storedvalues.h"

namespace tool {
namespace {

constexpr const char* examples = R"(Examples:
  tessarune-config export my-settings.xml
  tessarune-config import my-settings.xml
  tessarune-config export --all all.sxml    and 'import all.sxml', here or on another machine
  tessarune-config reset
  tessarune-config restore           what 'import' or 'reset' replaced because of a fault)";

// A document that can't be parsed goes out as it stands, to be repaired.
std::string ReadableText(const std::string& text) {
    try {
        return slib::SXMLNode(text).ToString(slib::SXMLNode::Style::Spread);
    } catch (const slib::BadDataException&) {
        return text + "\n";
    }
}

void Write(const std::string& file, const std::string& text, const char* what) {
    if (file.empty()) {
        std::cout << text;
        return;
    }
    if (!platform::ReplaceStoreFile(std::filesystem::absolute(file), text))
        throw slib::BadStateException("'" + file +
                                      "' can't be written. Name a file in a folder that you may write to.");
    std::cout << what << " stored in '" << file << "'.\n";
}

void Export(const std::string& file) {
    const std::string stored = ReadDocumentText();
    if (stored.empty())
        throw slib::BadStateException(
            "There is no configuration to export yet. The first start of a game stores one, and so does "
            "'tessarune-config select'.");
    Write(file, ReadableText(stored), "The configuration is");
}

SettingsFile ReadFile(const std::string& file) {
    std::string text;
    slib::readFile(file, text);
    try {
        return ReadSettingsFile(text, Paths::Take);
    } catch (const std::exception& failure) {
        throw slib::BadDataException("'" + file + "' can't be imported: " + failure.what() +
                                     " The stored configuration stays as it was. 'tessarune-config export' "
                                     "shows what a document looks like.");
    }
}

void Store(const std::string& text) {
    PrintNote(StoreDocumentText(text) ? orb3::keptText : "");
}

void Import(const std::string& file, bool isForced) {
    const SettingsFile settings = ReadFile(file);
    if (!isForced && settings.document) CheckSense({}, *settings.document);
    PrintNote(StoreSettingsFile(settings) ? orb3::keptText : "");
    std::cout << (settings.isAll ? "The settings" : "The configuration") << " of '" << file << "' "
              << (settings.isAll ? "are" : "is")
              << " now in use. 'tessarune-config check' shows what a game's start would do with "
              << (settings.isAll ? "them" : "it") << ".\n";
    if (settings.document) PrintWarnings(WhatIsLacking(*settings.document, settings.names));
}

void Reset(bool withPlatform) {
    const ChangeStep step("the reset");
    Store("");
    if (withPlatform) ForgetPlatformSettings();
    std::cout << "The configuration is removed. The next start of a game chooses one anew.\n";
}

void Restore() {
    RestoreKeptDocument();
    std::cout << "The configuration that was kept is back. One that it replaces is kept instead, and another "
                 "'restore' exchanges the two again.\n";
    try {
        ReadDocument();
    } catch (const slib::BadDataException& fault) {
        std::cout << fault.what() << "\n";
    }
}

void Discard() {
    const ChangeStep step("the configuration that was kept");
    ReplaceValue(orb3::keptConfigurationKey, [](const std::string&) { return ""; });
    std::cout << "No configuration is kept any more.\n";
}

}  // namespace

void AddDocumentCommands(Program& program) {
    struct Options {
        std::string file;
        bool isAll = false;
        bool isForced = false;
        bool isDiscarded = false;
    };
    const auto options = std::make_shared<Options>();
    CommandLine* out = program.AddCommand("export", "Write the configuration document to a file.");
    out->AddOption("FILE", options->file, "The file; left out, the text is printed");
    out->AddFlag("--all", options->isAll, "All settings: also " + PlatformSettingNames() + ", and of games");
    out->OnUse([options] {
        options->isAll ? Write(options->file, AllSettingsText(), "All settings are") : Export(options->file);
    });

    CommandLine* in =
        program.AddCommand("import", "Load the configuration document, or all settings, from a file.");
    in->AddOption("FILE", options->file, "A file that 'export' wrote")->Require();
    in->AddFlag("--force", options->isForced, "Even if it would spoil the sound");
    in->OnUse([options] { Import(options->file, options->isForced); });

    CommandLine* reset = program.AddCommand("reset", "Remove the configuration document.");
    reset->AddFlag("--all", options->isAll, "Also reset " + PlatformSettingNames());
    reset->OnUse([options] { Reset(options->isAll); });

    CommandLine* restore =
        program.AddCommand("restore", "Put back a configuration document that was replaced for a fault.");
    restore->AddFlag("--discard", options->isDiscarded, "Forget the one that is kept instead");
    restore->OnUse([options] { options->isDiscarded ? Discard() : Restore(); });
    for (CommandLine* command : {out, in, reset, restore})
        command->SetFooter(examples);
}

}  // namespace tool
