// Converts one movie that the user names, as a conversion after a recording does.
#pragma once

#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <filesystem>
#include <string>

namespace brindle {

class Remuxer;

/// Main thread only. Must outlive its rescues.
class MovieRescue {
  public:
    /// Both must outlive the rescue.
    MovieRescue(FileManager& fileManager, Remuxer& remuxer)
        : fileManager_{fileManager}, remuxer_{remuxer} {}

    /// Converts NAME.mov into NAME.mp4 in the same folder and answers where that is; the .mov is
    /// gone then. Nothing that is there already is replaced. Fails with one sentence that says what
    /// happened to the movie; the .mov is still there then.
    Task<Expected<std::filesystem::path, std::string>> rescue(std::filesystem::path movie);

  private:
    FileManager& fileManager_;
    Remuxer& remuxer_;
};

} // namespace brindle
