#pragma once

// The profiles of games: the shipped ones with the user's, and the change of the user's. For the command and
// the page; one thread.

#include <string>
#include <utility>
#include <vector>

#include "orb3core/settings/gameprofile.h"

namespace tool {

/// Both kinds, and what they come to together. Throw as orb3::ParseGameProfiles.
struct Profiles {
    std::vector<orb3::GameProfile> shipped, users;

    std::vector<orb3::GameProfile> Joined() const { return orb3::JoinGameProfiles(shipped, users); }
    /// By upper or lower case.
    bool IsShipped(const std::string& name) const;
    bool IsUsers(const std::string& name) const;
    /// "shipped", "yours", or "shipped, changed by you".
    std::string Origin(const std::string& name) const;
};
Profiles ReadProfiles();

/// The name of the profile that is meant: by its name, or by that of a program that it is for; else the name
/// itself.
std::string ProfileName(const Profiles& profiles, const std::string& name);

/// The one of exactly that name. Throws WrongUse where there is none.
orb3::GameProfile FindProfile(std::vector<orb3::GameProfile> profiles, const std::string& name);

/// "with libfoo.so": the programs that a profile is for.
std::string Patterns(const orb3::GameProfile& profile);

struct ProfileChange {
    std::string name;                 ///< of the profile (ProfileName)
    std::string key, value;           ///< a switch or a setting
    std::string programs, libraries;  ///< patterns; empty to leave them
};

/// Stores the change in the user's profile of that name, and returns the key and the value as they are
/// stored. A profile that is new, without patterns, and not of a shipped one is for the program of that name.
/// Throws WrongUse for what there isn't.
std::pair<std::string, std::string> ChangeProfile(const ProfileChange& change);

/// Forgets the user's profile of that name; true where there is a shipped one, which holds again. Throws
/// WrongUse where there is neither.
bool ResetProfile(const std::string& name);

}  // namespace tool
