// The fixed knowledge about programs that use the microphone: which ones are call programs, which
// are browsers and what their titles say during a web meeting, and which never make a call.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

/// One call program or browser, whatever processes it consists of.
struct CallAppFamily {
    std::string id;                     ///< stable; settings store it, candidates are keyed by it
    std::string name;                   ///< for people
    std::vector<std::string> bundleIDs; ///< whole identifiers, which are stems of others as well
    bool isBrowser = false;

    /// True for an identifier of the family and for whatever continues one after a dot
    /// ("us.zoom.xos" covers "us.zoom.xos.helper"). Case-sensitive.
    [[nodiscard]] bool matches(std::string_view bundleID) const;

    friend bool operator==(const CallAppFamily&, const CallAppFamily&) = default;
};

/// A web-meeting site and how to tell it by a browser window's title.
struct CallSite {
    std::string host;
    std::vector<std::string> titleFragments; ///< lower-case ASCII; the first is the host

    friend bool operator==(const CallSite&, const CallSite&) = default;
};

/// Tables that are built at their first use and never change, and look-ups in them. Their order
/// counts: whatever comes first wins. Any thread. Pointers and references stay valid for the life
/// of the process.
struct CallCatalog {
    static const std::vector<CallAppFamily>& apps();
    static const std::vector<CallAppFamily>& browsers();
    /// Stands for every program that is in no family; matches no identifier.
    static const CallAppFamily& otherApps();
    /// The ids of the families that are switched off until the user switches them on: only that of
    /// the other programs.
    static std::set<std::string> familiesOffAtFirst();
    /// Call programs, browsers, then the other programs.
    static const std::vector<CallAppFamily>& allFamilies();
    static const std::vector<CallSite>& sites();
    /// What these identifiers begin with holds the microphone without being in a call.
    static const std::vector<std::string>& ignoredBundlePrefixes();

    /// The call program, else the browser, of that identifier; null when it is neither.
    static const CallAppFamily* family(std::string_view bundleID);

    /// Whether microphone use by that identifier is never a call. A plain test of prefixes, dot or
    /// no dot; case-sensitive.
    static bool isIgnored(std::string_view bundleID);

    /// The first site that any of the titles shows, an earlier title before a better site; null
    /// when none does. The letters A to Z match in either case. Titles may hold any bytes and be
    /// of any length; bytes outside ASCII are compared as they are.
    static const CallSite* site(const std::vector<std::string>& titles);
};

} // namespace brindle
