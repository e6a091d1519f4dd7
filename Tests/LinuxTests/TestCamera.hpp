// A camera of PipeWire that does what a test tells it to.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace brindle::test {

/// Delivers a light bar that moves down a grey picture, on a thread of its own. Not delivering, and
/// being unplugged, are up to the test.
class TestCamera {
  public:
    struct Format {
        std::uint32_t pixelFormat = 0; ///< a `spa_video_format`; 0 for motion JPEG
        int width = 1280;
        int height = 720;
        int bytesPerLine = 0;  ///< of the first plane
        double linesInAll = 0; ///< lines of that length in all planes together, for each line
        int frameRate = 30;
        std::vector<int> slowerRates = {};   ///< offered as well, and before that one
        std::vector<std::uint8_t> jpeg = {}; ///< the picture, when it is motion JPEG
        bool stamped = true;                 ///< whether pictures carry the time of their taking
    };
    static Format i420(int width = 1280, int height = 720, int frameRate = 30);
    static Format yuy2(int width, int height, int frameRate);
    static Format bgrx(int width, int height, int frameRate);
    static Format gray(int width, int height, int frameRate);
    static Format motionJpeg(std::vector<std::uint8_t> picture, int width, int height);

    /// Returns when the server knows the camera.
    TestCamera(const std::string& name, Format format);
    ~TestCamera();
    TestCamera(const TestCamera&) = delete;
    TestCamera& operator=(const TestCamera&) = delete;

    /// How many pictures it has delivered so far. Not once it is unplugged.
    [[nodiscard]] int delivered() const;
    /// Delivers no more pictures, but stays connected.
    void freeze();
    void unplug();

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace brindle::test
