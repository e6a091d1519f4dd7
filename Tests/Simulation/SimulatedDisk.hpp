// The disk as one run of the program sees it: it can fail, fill up and slow down, and the program
// may die after any one operation.
#pragma once

#include "Simulation/Scene.hpp"
#include "Support/ForwardingFileManager.hpp"

#include <optional>

namespace brindle::simulation {

class SimulatedDisk final : public test::ForwardingFileManager {
  public:
    explicit SimulatedDisk(Scene& scene) : ForwardingFileManager{scene.files}, scene_{scene} {}

    /// From now on so many calls of a hundred fail, and so many take their time.
    void setSickness(unsigned failingPercent, unsigned slowPercent);
    [[nodiscard]] bool isSick() const { return failingPercent_ > 0; }
    /// The program dies right after so many more operations that change the disk.
    void dieAfter(std::optional<int> changes) { changesLeft_ = changes; }
    /// Nothing reaches the disk any more.
    void die() { dead_ = true; }
    [[nodiscard]] bool isDead() const { return dead_; }

    // What a media library does beside: as if by a descriptor of its own.
    /// Adds to a file that exists; false when the disk does not take it.
    bool appendMedia(const std::filesystem::path& path, const std::string& text);
    bool syncMedia(const std::filesystem::path& path);
    /// Gives a file a second name; false when the disk does not.
    bool linkMedia(const std::filesystem::path& path, const std::filesystem::path& name);

    Expected<void, FileError>
    moveFile(const std::filesystem::path& from, const std::filesystem::path& to) override;
    Expected<void, FileError> removeFile(const std::filesystem::path& path) override;

  private:
    /// False when the program is dead and the operation must not be done.
    [[nodiscard]] bool enter() const override;
    void changed(const std::filesystem::path& path) override;

    Scene& scene_;
    unsigned failingPercent_ = 0;
    unsigned slowPercent_ = 0;
    std::optional<int> changesLeft_;
    bool dead_ = false;
};

} // namespace brindle::simulation
