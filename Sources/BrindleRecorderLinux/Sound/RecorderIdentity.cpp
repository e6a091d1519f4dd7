#include "BrindleRecorderLinux/Sound/RecorderIdentity.hpp"

#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"

#include <string_view>
#include <utility>

namespace brindle::pipewire {

namespace {

/// A pid that only the client vouches for is another process's if the client sits in a sandbox that
/// counts its own processes.
std::optional<std::int32_t>
trustedPid(const ClientProcess& process, const ProcProcessRegistry& registry) {
    if (!process.pid || process.pidIsCertain || process.binary.empty() ||
        registry.runsFileNamed(*process.pid, process.binary)) {
        return process.pid;
    }
    return std::nullopt;
}

/// Each claim from the first client that makes it.
ClientClaims claimsOf(const ProcessView& process) {
    ClientClaims claims;
    claims.sandboxID = process.process.sandboxID;
    claims.binary = process.process.binary;
    for (const auto& client : process.clients) {
        const auto take = [&](std::string& claim, std::string_view key) {
            if (claim.empty()) {
                claim = property(client, key);
            }
        };
        take(claims.snapName, "pipewire.snap.id");
        take(claims.applicationID, "application.id");
        take(claims.applicationName, "application.name");
    }
    return claims;
}

} // namespace

RecorderIdentity identityOf(const ProcessView& process, const ProcProcessRegistry& registry) {
    RecorderIdentity found;
    found.pid = trustedPid(process.process, registry);
    auto identity = identityOfClient(
        claimsOf(process), found.pid ? registry.identity(*found.pid) : std::nullopt);
    if (identity) {
        found.bundleIdentifier = std::move(identity->identifier);
    }
    return found;
}

} // namespace brindle::pipewire
