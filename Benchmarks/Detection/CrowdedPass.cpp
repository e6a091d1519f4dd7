#include "Detection/Benchmarks.hpp"

#include "Detection/Desktop.hpp"
#include "LinuxTests/ChildProcess.hpp"
#include "LinuxTests/XServer.hpp"

#include <fmt/format.h>
#include <time.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <numeric>
#include <stdexcept>

namespace brindle::bench {

namespace {

using std::chrono::nanoseconds;

constexpr std::size_t mostUsers = 50;
constexpr std::size_t browsers = 10;
constexpr std::size_t windowsOfEach = 20;
constexpr std::array<const char*, 4> browserNames{"chrome", "firefox", "msedge", "brave"};
constexpr std::array<const char*, 5> programNames{"zoom", "slack", "Discord", "obs", "recordbox"};

nanoseconds processorTime() {
    timespec used{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &used);
    return std::chrono::seconds{used.tv_sec} + nanoseconds{used.tv_nsec};
}

/// A program that is called as it is asked to be, in a folder of its own.
std::string standIn(
    const std::filesystem::path& folder, std::size_t number, const char* name,
    const std::string& program) {
    const auto place = folder / std::to_string(number);
    std::filesystem::create_directories(place);
    std::filesystem::create_symlink(program, place / name);
    return place / name;
}

std::vector<std::uint32_t> numbersIn(const std::filesystem::path& file) {
    std::ifstream input{file};
    std::vector<std::uint32_t> numbers;
    for (std::uint32_t number = 0; input >> number;) {
        numbers.push_back(number);
    }
    return numbers;
}

class Crowd {
  public:
    Crowd(const std::string& self, const std::string& display) {
        for (std::size_t index = 0; index < mostUsers; ++index) {
            const bool isBrowser = index % (mostUsers / browsers) == 0;
            const std::size_t number = index / (mostUsers / browsers);
            const char* const name = isBrowser ? browserNames[number % browserNames.size()]
                                               : programNames[index % programNames.size()];
            const auto recorder = standIn(folder_, index, name, "/usr/bin/pw-cat");
            programs_.push_back(std::make_unique<ChildProcess>(
                recorder, std::vector<std::string>{
                              recorder, "--record", "--target", "virt-mic", "/dev/null"}));
            if (isBrowser) {
                const auto browser = standIn(folder_ / "windows", index, name, self);
                files_.push_back(folder_ / (std::to_string(index) + ".windows"));
                programs_.push_back(std::make_unique<ChildProcess>(
                    browser,
                    std::vector<std::string>{
                        browser, "show-windows", fmt::format("Quarterly figures {}, draft", index),
                        std::to_string(windowsOfEach), files_.back()},
                    ChildProcess::Setting{
                        .environment = {{"DISPLAY", display}}, .hasInput = true}));
            }
        }
    }
    ~Crowd() {
        programs_.clear();
        std::filesystem::remove_all(folder_);
    }
    Crowd(const Crowd&) = delete;
    Crowd& operator=(const Crowd&) = delete;

    /// The windows that are there so far.
    [[nodiscard]] std::vector<std::uint32_t> windows() const {
        std::vector<std::uint32_t> all;
        for (const auto& file : files_) {
            const auto some = numbersIn(file);
            all.insert(all.end(), some.begin(), some.end());
        }
        return all;
    }

  private:
    std::filesystem::path folder_ = std::filesystem::path{std::getenv("BRINDLE_SESSION")} / "crowd";
    std::vector<std::filesystem::path> files_;
    std::vector<std::unique_ptr<ChildProcess>> programs_;
};

struct Seen {
    std::size_t users = 0;
    std::size_t titles = 0;
};

Seen countIn(const std::vector<MicUser>& users) {
    Seen seen{users.size(), 0};
    for (const MicUser& user : users) {
        seen.titles += user.windowTitles ? user.windowTitles->size() : 0;
    }
    return seen;
}

} // namespace

void showWindows(const std::string& title, std::size_t count, const std::string& file) {
    const XClient client{std::getenv("DISPLAY")};
    const std::string unfinished = file + ".part";
    {
        std::ofstream output{unfinished};
        for (std::size_t index = 0; index < count; ++index) {
            const auto window = client.makeWindow();
            client.setTitle(window, fmt::format("{} {} - Spreadsheet", title, index));
            client.setClass(window, "crowd", "Crowd");
            client.setPid(window, getpid());
            output << window << '\n';
        }
    }
    std::filesystem::rename(unfinished, file);
    char ignored = 0;
    while (read(STDIN_FILENO, &ignored, 1) > 0) {
    }
}

void measureCrowdedPass(const std::string& self, std::size_t passes) {
    const XServer server;
    setenv("DISPLAY", server.display().c_str(), 1);
    unsetenv("WAYLAND_DISPLAY");
    const XClient manager{server.display()};
    Desktop desktop;
    const auto measure = [&] {
        desktop.pass(); // knows everybody by now
        std::vector<nanoseconds> cost;
        for (std::size_t index = 0; index < passes; ++index) {
            const auto before = processorTime();
            desktop.pass();
            cost.push_back(processorTime() - before);
        }
        return cost;
    };
    const auto print = [&](const char* what, std::vector<nanoseconds> cost) {
        const auto seen = countIn(desktop.pass());
        const auto total = std::accumulate(cost.begin(), cost.end(), nanoseconds{0});
        const double mean = milliseconds(total) / static_cast<double>(cost.size());
        fmt::print(
            "  {:<10} {:3} users, {:3} titles handed on: mean {:.3f} ms   p50 {:.3f} ms   p99 "
            "{:.3f} ms\n",
            what, seen.users, seen.titles, mean, milliseconds(percentile(cost, 50)),
            milliseconds(percentile(cost, 99)));
        return mean;
    };
    desktop.await("the server", [&] { return desktop.monitor().snapshot().empty(); });
    fmt::print("processor time of a detection pass, window titles included, {} passes\n", passes);
    print("nobody", measure());

    const Crowd crowd{self, server.display()};
    desktop.await(
        "the windows", [&] { return crowd.windows().size() == browsers * windowsOfEach; });
    manager.list(crowd.windows());
    desktop.await("the users", [&] { return desktop.monitor().snapshot().size() == mostUsers; });
    const auto seen = countIn(desktop.pass());
    if (seen.titles < browsers * windowsOfEach) {
        throw std::runtime_error{fmt::format("only {} window titles are seen", seen.titles)};
    }
    const double mean = print("a crowd", measure());
    constexpr double limit = 1;
    fmt::print(
        "  with {} windows on the screen, {:.0f} % of the {:.0f} ms allowed\n",
        browsers * windowsOfEach, 100 * mean / limit, limit);
}

} // namespace brindle::bench
