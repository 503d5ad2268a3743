#include "tools/manage/heads.h"

#include <algorithm>

#include "library/ownlibrary.h"
#include "library/sofachild.h"
#include "slib/text.h"
#include "tools/manage/headphonemethod.h"
#include "tools/manage/history.h"
#include "tools/manage/machine.h"
#include "tools/manage/storedvalues.h"
#include "tools/support/nearest.h"
#include "tools/support/wronguse.h"

namespace tool {
namespace {

constexpr double leastCircumference = 0.35, greatestCircumference = 0.8;  // metres
constexpr const char* pair = "pair of headphones";

std::string Description(const design::HeadphoneCorrection& correction) {
    if (correction.filters.empty())
        return "An impulse response of " + std::to_string(correction.responses.rows()) + " samples.";
    return "Parametric filters: " + std::to_string(correction.filters.size()) + ".";
}

std::string SwitchOff(const orb3::fl::FormatLibrarian& library) {
    return ChangeChoice(
        library, [](design::HeadChoice& choice) { choice.headphones.clear(); }, false);
}

void RemoveFromOwn(const std::string& tag) {
    ChangeOwnLibrary([&](orb3::fl::FormatRegistrar& own) { design::RemoveOwn(tag, own); });
}

}  // namespace

double ParseCircumference(const std::string& given, const std::string& what) {
    const std::string text = WithDecimalPoint(given);
    const std::size_t end = text.find_last_of("0123456789.") + 1;
    const std::string unit = text.substr(std::min(text.find_first_not_of(' ', end), text.size()));
    const double scale = unit == "cm" ? 0.01 : unit == "mm" ? 0.001 : unit == "in" ? 0.0254 : 0;
    const std::string number = text.substr(0, end);
    const bool isNumber =
        number.find_first_not_of("0123456789.") == std::string::npos && std::ranges::count(number, '.') <= 1;
    const double metres = isNumber ? slib::ParseDouble(number) * scale : 0;
    if (metres >= leastCircumference && metres <= greatestCircumference) return metres;
    throw WrongUse(what + " must be that of a head with its unit, such as 57cm, 570mm or 22.4in, not '" +
                   text + "'.");
}

std::size_t AddHead(const HeadFile& file, const StepReport& report) {
    design::AddedHead head;
    head.circumference = file.circumference;
    ChangeOwnLibrary([&](orb3::fl::FormatRegistrar& library) {
        design::NewHeadTag(file.name, library);
        head.impulses = design::ReadSofaInChild(file.path);
        head.report = [&](unsigned order) {
            report(order, design::greatestOrder, "order " + std::to_string(order));
        };
        design::AddOwnHead(head, file.name, library);
    });
    return head.impulses.directions.size();
}

HeadphoneChange UseHead(const std::string& name) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const auto heads = design::ListHeads(library.Librarian());
    const design::OwnEntry& head = FindEntry(heads, name, "head");
    const ChangeStep step("the head '" + head.name + "'");
    return {head.name,
            ChangeChoice(
                library.Librarian(), [&](design::HeadChoice& choice) { choice.head = head.tag; }, true)};
}

HeadphoneChange RemoveHead(const std::string& name) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const auto heads = design::ListHeads(library.Librarian());
    const design::OwnEntry& head = FindEntry(heads, name, "head");
    if (!head.isOwn)
        throw WrongUse("'" + head.name + "' is a head of the system's library, and can't be removed.");
    const ChangeStep step("the removal of the head '" + head.name + "'");
    HeadphoneChange change{head.name, ""};
    if (StoredChoice(ReadDocument()).head == head.tag)
        change.note = ChangeChoice(
            library.Librarian(),
            [&](design::HeadChoice& choice) {
                if (choice.head == head.tag) choice.head = SystemsHead(library.Librarian());
            },
            false);
    RemoveFromOwn(head.tag);
    return change;
}

void AddHeadphones(const std::string& path, const std::string& name) {
    ChangeOwnLibrary([&](orb3::fl::FormatRegistrar& library) {
        design::NewHeadphonesTag(name, library);
        const design::HeadphoneCorrection correction = design::ReadHeadphoneCorrection(path);
        design::AddOwnHeadphones(correction, name, Description(correction), library);
    });
}

HeadphoneChange UseHeadphones(const std::string& name) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const auto all = design::ListHeadphones(library.Librarian());
    const design::OwnEntry& headphones = FindEntry(all, name, pair);
    const ChangeStep step("the headphones '" + headphones.name + "'");
    return {headphones.name,
            ChangeChoice(
                library.Librarian(), [&](design::HeadChoice& choice) { choice.headphones = headphones.tag; },
                true)};
}

std::string SwitchHeadphonesOff() {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const ChangeStep step("headphones off");
    return SwitchOff(library.Librarian());
}

HeadphoneChange RemoveHeadphones(const std::string& name) {
    ErrorsToTerminal log;
    const FormatLibrary library(log);
    const auto all = design::ListHeadphones(library.Librarian());
    const design::OwnEntry& headphones = FindEntry(all, name, pair);
    const ChangeStep step("the removal of the headphones '" + headphones.name + "'");
    HeadphoneChange change{headphones.name, ""};
    if (StoredChoice(ReadDocument()).headphones == headphones.tag)
        change.note = SwitchOff(library.Librarian());
    RemoveFromOwn(headphones.tag);
    return change;
}

}  // namespace tool
