#include "BrindleRecorderApp/Recording/MovieRescue.hpp"

#include "BrindleRecorderApp/Recording/Remuxer.hpp"
#include "BrindleRecorderApp/Words/FailureTexts.hpp"

#include <utility>

namespace brindle {

Task<Expected<std::filesystem::path, std::string>>
MovieRescue::rescue(std::filesystem::path movie) {
    const std::string name = movie.filename().string();
    if (movie.extension() != ".mov") {
        co_return unexpected{FailureTexts::notAMovie(movie)};
    }
    if (!fileManager_.fileExists(movie)) {
        co_return unexpected{FailureTexts::noSuchFile(movie)};
    }
    std::filesystem::path destination = movie;
    destination.replace_extension(".mp4");
    if (fileManager_.fileExists(destination)) {
        co_return unexpected{FailureTexts::alreadyThere(destination)};
    }
    const auto converted = co_await remuxer_.remuxToMP4(movie, destination, MovieOrigin::found);
    if (!converted) {
        co_return unexpected{FailureTexts::kept(converted.error(), name)};
    }
    co_return destination;
}

} // namespace brindle
