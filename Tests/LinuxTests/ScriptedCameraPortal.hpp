// A camera portal on the session bus that does what a test says.
#pragma once

#include "LinuxTests/ScriptedBusObject.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace brindle::test {

/// Serves while `serve` is called. Destroyed, it is gone from the bus.
class ScriptedCameraPortal {
  public:
    enum class Manner {
        takesRequests,
        refusesRequests,
        doesNotReply,         ///< to a request; nothing is asked of the user either
        answersBeforeTaking,  ///< "granted", and only then the reply to the request
        takesForAnotherOne,   ///< replies with a handle that nobody asked for
        answersWithoutNumber, ///< an answer of another form
    };

    /// Throws std::runtime_error when there is no bus, or when another one serves already.
    explicit ScriptedCameraPortal(Manner manner = Manner::takesRequests);
    ScriptedCameraPortal(const ScriptedCameraPortal&) = delete;
    ScriptedCameraPortal& operator=(const ScriptedCameraPortal&) = delete;

    /// Answers what has been asked. Never waits.
    void serve() { portal_.serve(); }

    struct Request {
        std::string asker; ///< unique name
        std::string path;
    };
    /// Every request for the camera that has been made.
    [[nodiscard]] const std::vector<Request>& requests() const { return requests_; }
    [[nodiscard]] std::string ownName() const; ///< unique
    /// How often anything was asked.
    [[nodiscard]] int questions() const { return questions_; }

    /// What the user says to the first request.
    void respond(std::uint32_t response);

  private:
    static const sd_bus_vtable* table();
    static int isCameraPresent(
        sd_bus* bus, const char* path, const char* interface, const char* property,
        sd_bus_message* reply, void* self, sd_bus_error* error);
    static int accessCamera(sd_bus_message* call, void* self, sd_bus_error* error);
    int take(sd_bus_message* call, sd_bus_error* error);

    Manner manner_;
    ScriptedBusObject portal_;
    std::vector<Request> requests_;
    int questions_ = 0;
};

} // namespace brindle::test
