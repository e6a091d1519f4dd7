#include "LinuxTests/BareBus.hpp"

#include <systemd/sd-bus.h>

#include <chrono>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace brindle::test {

namespace {

constexpr const char* configuration = R"(<!DOCTYPE busconfig PUBLIC
 "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <auth>EXTERNAL</auth>
  <listen>unix:tmpdir=/tmp</listen>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

bool busAnswers() {
    sd_bus* bus = nullptr;
    const bool answers = sd_bus_open_user(&bus) >= 0;
    sd_bus_close_unref(bus);
    return answers;
}

} // namespace

BareBus::BareBus() {
    const auto file = folder_.path() / "bus.conf";
    std::ofstream{file} << configuration;
    daemon_.emplace(
        "dbus-daemon", std::vector<std::string>{
                           "dbus-daemon", "--config-file=" + file.string(), "--nofork",
                           "--nopidfile", "--address=unix:path=" + socket().string()});
    const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds{30};
    while (!busAnswers()) {
        if (std::chrono::steady_clock::now() > limit) {
            throw std::runtime_error{"the test's own bus did not come up"};
        }
        std::this_thread::sleep_for(std::chrono::milliseconds{10});
    }
}

void BareBus::stop() {
    daemon_.reset();
    std::filesystem::remove(socket());
}

} // namespace brindle::test
