// Measures detection at the real servers of a private session. Usage: DetectionBenchmarks
// reaction|crowded-pass [NUMBER]
#include "Detection/Benchmarks.hpp"

#include <cstdio>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

void run(const std::vector<std::string>& arguments) {
    using namespace brindle::bench;
    const auto number = [&](std::size_t index, std::size_t otherwise) {
        return arguments.size() > index ? std::stoul(arguments[index]) : otherwise;
    };
    if (arguments.size() == 4 && arguments[0] == "show-windows") {
        showWindows(arguments[1], number(2, 1), arguments[3]);
    } else if (!arguments.empty() && arguments[0] == "reaction") {
        measureReaction(number(1, 200));
    } else if (!arguments.empty() && arguments[0] == "crowded-pass") {
        measureCrowdedPass(std::filesystem::read_symlink("/proc/self/exe"), number(1, 1000));
    } else {
        throw std::invalid_argument{"say what to measure: reaction or crowded-pass"};
    }
}

} // namespace

int main(int count, char** arguments) {
    try {
        run(std::vector<std::string>(arguments + 1, arguments + count));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "DetectionBenchmarks: %s\n", error.what());
        return 1;
    }
    return 0;
}
