#include "BrindleRecorderApp/Recording/MovieRescue.hpp"

#include "BrindleRecorderApp/Recording/Remuxer.hpp"

#include <fmt/format.h>

#include <utility>

namespace brindle {

Task<Expected<std::filesystem::path, std::string>>
MovieRescue::rescue(std::filesystem::path movie) {
    const std::string name = movie.filename().string();
    if (movie.extension() != ".mov") {
        co_return unexpected{fmt::format("{} is not a .mov file", movie.string())};
    }
    if (!fileManager_.fileExists(movie)) {
        co_return unexpected{fmt::format("there is no file {}", movie.string())};
    }
    std::filesystem::path destination = movie;
    destination.replace_extension(".mp4");
    if (fileManager_.fileExists(destination)) {
        co_return unexpected{fmt::format(
            "{} is there already, and nothing was changed; move one of the two away first",
            destination.string())};
    }
    const auto converted = co_await remuxer_.remuxToMP4(movie, destination);
    if (!converted) {
        co_return unexpected{fmt::format("{} {} was kept.", converted.error().userMessage(), name)};
    }
    co_return destination;
}

} // namespace brindle
