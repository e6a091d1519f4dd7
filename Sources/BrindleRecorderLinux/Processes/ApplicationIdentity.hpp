// Which application a process or a client of the sound server belongs to.
#pragma once

#include "BrindleRecorderCore/Calls/ApplicationTable.hpp"
#include "BrindleRecorderLinux/Processes/ProcessEvidence.hpp"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace brindle {

struct ApplicationIdentity {
    std::string identifier; ///< the catalog's where the application is in the table, else a label
    bool isInTable = false;
    std::string program{}; ///< for people; empty where the identifier is enough

    friend bool operator==(const ApplicationIdentity&, const ApplicationIdentity&) = default;
};

/// Evidence of a process; nothing when there is none of that number.
using EvidenceLookup = std::function<std::optional<ProcessEvidence>(std::int32_t)>;

/// The row that the evidence of this process alone leads to; null when there is none. The sandbox's
/// word counts most. The program's file counts more than the application that the desktop says it
/// started: what an application starts runs under that application's name, too.
const ApplicationRow* rowOf(const ProcessEvidence& evidence);

/// A process that is in no row by itself belongs to the nearest of the processes above it that is,
/// up to a shell, the leader of a session, or another application. What belongs to no row is
/// labelled with an application id where there is one, else with the program's name. Nothing when
/// there is no such process.
std::optional<ApplicationIdentity>
identityOfProcess(std::int32_t pid, const EvidenceLookup& evidenceOf);

/// What a client of the sound server says about itself, or the server about it.
struct ClientClaims {
    std::string sandboxID; ///< the server's word; the rest is the client's
    std::string snapName;  ///< the server's word
    std::string binary;
    std::string applicationID;
    std::string applicationName;
};

/// `process` is the identity of the client's process, where that is known for certain.
std::optional<ApplicationIdentity>
identityOfClient(const ClientClaims& claims, const std::optional<ApplicationIdentity>& process);

} // namespace brindle
