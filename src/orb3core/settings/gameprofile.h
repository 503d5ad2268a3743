#pragma once

// Profiles of games: what the library does otherwise for one program, by a name of its executable or of a
// library that it has loaded. Some are shipped in `share/tessarune/games.conf`; the user's own stand in the
// store and win. Read once by a process that uses the library, and by the programs that show and change
// them. Plain data and functions; any thread.
//
// Both places hold the same document:
//
//     <Games>
//       <Game Name="..." Programs="..." Libraries="..." Reason="..." QuietLookups="True" Order="2"/>
//     </Games>
//
// where what isn't one of the first four attributes is a switch or a setting of the configuration document.

#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "orb3core/settings/gameswitches.h"
#include "orb3core/settings/settingtable.h"
#include "slib/sxml.h"

namespace orb3 {

struct GameProfile {
    std::string name;
    std::string programs;   ///< patterns with "*" and "?", parted by "|"; upper and lower case are the same
    std::string libraries;  ///< the same
    std::string reason;     ///< for people
    std::map<std::string, std::string> values;  ///< texts by name of a switch or a setting

    bool operator==(const GameProfile&) const = default;
};

/// A program as profiles know it.
struct GameIdentity {
    std::vector<std::string> programs;   ///< names of its executable, without folders
    std::vector<std::string> libraries;  ///< names of the files that it has loaded, without folders
};

/// Where the user's document is stored.
inline constexpr const char* gameProfilesKey = "/Games/Profiles";

/// Reads a document; an empty text has no profiles. What is no switch and no setting is kept. Throws
/// slib::BadDataException for what isn't such a document.
std::vector<GameProfile> ParseGameProfiles(std::string_view text);

/// The document of these profiles.
std::string GameProfilesText(const std::vector<GameProfile>& profiles, slib::SXMLNode::Style style);

/// The profiles that came with the library that is loaded from `tree`; none where the file is missing. Throws
/// as ParseGameProfiles.
std::vector<GameProfile> ReadShippedGameProfiles(const std::filesystem::path& tree);

/// The profiles of that name, upper and lower case being the same; the end where there is none.
std::vector<GameProfile>::iterator FindGameProfile(std::vector<GameProfile>& profiles, std::string_view name);

/// The user's profiles, then those of the shipped ones that the user has none for. A profile of the user's
/// with the name of a shipped one has what it doesn't say itself from that one.
std::vector<GameProfile> JoinGameProfiles(const std::vector<GameProfile>& shipped,
                                          const std::vector<GameProfile>& users);

/// The first of `profiles` that has a pattern for a name of the executable, else the first that has one for a
/// library; none where no pattern fits.
std::optional<GameProfile> FindGameProfileFor(const std::vector<GameProfile>& profiles,
                                              const GameIdentity& game);

/// The setting of the configuration document that a profile may change by that name; null for none.
const Setting* FindGameSetting(std::string_view name);

/// The switch of that name, upper and lower case being the same.
std::optional<GameSwitch> FindGameSwitch(std::string_view name);

/// "QuietLookups, Order 2": what a profile changes, for people. A switch that is off has " off" behind it.
std::string DescribeChanges(const GameProfile& profile);

}  // namespace orb3
