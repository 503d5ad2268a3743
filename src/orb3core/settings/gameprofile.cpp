#include "orb3core/settings/gameprofile.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <sstream>

#include "slib/exception.h"
#include "slib/filestream.h"
#include "slib/text.h"

namespace orb3 {
namespace {

constexpr const char* listLabel = "Games";
constexpr const char* gameLabel = "Game";
// Beyond any file that people write.
constexpr std::size_t longestFile = 1 << 20;

struct TextField {
    const char* attribute;
    std::string GameProfile::*text;
};

constexpr std::array<TextField, 4> textFields{{
    {"Name", &GameProfile::name},
    {"Programs", &GameProfile::programs},
    {"Libraries", &GameProfile::libraries},
    {"Reason", &GameProfile::reason},
}};

std::string GameProfile::*FindField(std::string_view attribute) {
    for (const TextField& field : textFields)
        if (attribute == field.attribute) return field.text;
    return nullptr;
}

GameProfile ReadProfile(const slib::SXMLNode& node) {
    node.CheckLabel(gameLabel);
    GameProfile profile;
    for (const auto& [attribute, text] : node.attributes) {
        if (std::string GameProfile::*const field = FindField(attribute))
            profile.*field = text;
        else
            profile.values[attribute] = text;
    }
    if (profile.name.empty()) throw slib::BadDataException("A game's profile has no name.");
    return profile;
}

// Whether `pattern`, in which "*" stands for any text and "?" for any character, has `text`. In time that
// grows with the product of both.
bool Fits(std::string_view pattern, std::string_view text) {
    std::size_t p = 0, t = 0, star = std::string_view::npos, taken = 0;
    while (t < text.size()) {
        if (p < pattern.size() && pattern[p] == '*') {
            star = p++;
            taken = t;
        } else if (p < pattern.size() &&
                   (pattern[p] == '?' || slib::EqualIgnoringCase(pattern.substr(p, 1), text.substr(t, 1)))) {
            ++p;
            ++t;
        } else if (star != std::string_view::npos) {
            p = star + 1;
            t = ++taken;
        } else {
            return false;
        }
    }
    return pattern.find_first_not_of('*', p) == std::string_view::npos;
}

bool FitsAny(const std::string& patterns, const std::vector<std::string>& texts) {
    std::istringstream stream(patterns);
    for (std::string pattern; std::getline(stream, pattern, '|');)
        if (!pattern.empty() &&
            std::ranges::any_of(texts, [&](const auto& text) { return Fits(pattern, text); }))
            return true;
    return false;
}

// What `profile` doesn't say itself is as in `other`.
GameProfile Completed(GameProfile profile, const GameProfile& other) {
    for (const TextField& field : textFields)
        if ((profile.*field.text).empty()) profile.*field.text = other.*field.text;
    profile.values.insert(other.values.begin(), other.values.end());
    return profile;
}

}  // namespace

std::vector<GameProfile> ParseGameProfiles(std::string_view text) {
    std::vector<GameProfile> profiles;
    if (text.empty()) return profiles;
    const slib::SXMLNode root(text);
    root.CheckLabel(listLabel);
    profiles.reserve(root.children.size());
    for (const auto& child : root.children)
        profiles.push_back(ReadProfile(*child));
    return profiles;
}

std::string GameProfilesText(const std::vector<GameProfile>& profiles, slib::SXMLNode::Style style) {
    slib::SXMLNode root;
    root.label = listLabel;
    for (const GameProfile& profile : profiles) {
        slib::SXMLNode& node = root.AddChild(std::make_unique<slib::SXMLNode>());
        node.label = gameLabel;
        node.attributes.insert(profile.values.begin(), profile.values.end());
        for (const TextField& field : textFields)
            if (!(profile.*field.text).empty()) node.attributes[field.attribute] = profile.*field.text;
    }
    return root.ToString(style);
}

std::vector<GameProfile> ReadShippedGameProfiles(const std::filesystem::path& tree) {
    slib::InputFile file((tree / "share" / "tessarune" / "games.conf").string());
    std::string text(longestFile, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    text.resize(static_cast<std::size_t>(file.gcount()));
    return ParseGameProfiles(text);
}

std::vector<GameProfile>::iterator FindGameProfile(std::vector<GameProfile>& profiles,
                                                   std::string_view name) {
    return std::ranges::find_if(
        profiles, [&](const GameProfile& profile) { return slib::EqualIgnoringCase(profile.name, name); });
}

std::vector<GameProfile> JoinGameProfiles(const std::vector<GameProfile>& shipped,
                                          const std::vector<GameProfile>& users) {
    std::vector<GameProfile> joined = users;
    for (const GameProfile& profile : shipped) {
        const auto own = FindGameProfile(joined, profile.name);
        if (own == joined.end())
            joined.push_back(profile);
        else
            *own = Completed(std::move(*own), profile);
    }
    return joined;
}

std::optional<GameProfile> FindGameProfileFor(const std::vector<GameProfile>& profiles,
                                              const GameIdentity& game) {
    for (const GameProfile& profile : profiles)
        if (FitsAny(profile.programs, game.programs)) return profile;
    for (const GameProfile& profile : profiles)
        if (FitsAny(profile.libraries, game.libraries)) return profile;
    return std::nullopt;
}

const Setting* FindGameSetting(std::string_view name) {
    for (const Setting& setting : Settings())
        if (setting.GetPlace() != Setting::Place::Platform && slib::EqualIgnoringCase(setting.Name(), name))
            return &setting;
    return nullptr;
}

std::optional<GameSwitch> FindGameSwitch(std::string_view name) {
    for (std::size_t i = 0; i < gameSwitches.size(); ++i)
        if (slib::EqualIgnoringCase(gameSwitches[i].name, name)) return static_cast<GameSwitch>(i);
    return std::nullopt;
}

std::string DescribeChanges(const GameProfile& profile) {
    std::string text;
    for (const auto& [name, value] : profile.values) {
        text += (text.empty() ? "" : ", ") + name;
        const bool isSwitch = FindGameSwitch(name).has_value();
        if (!isSwitch) text += " " + value;
        if (isSwitch && value != "True") text += " off";
    }
    return text;
}

}  // namespace orb3
