// The icon that another process offers on the bus, read as panels read it
// (org.kde.StatusNotifierItem).
#pragma once

#include "BrindleRecorderLinux/Bus/Bus.hpp"
#include "BrindleRecorderLinux/Bus/BusCalls.hpp"
#include "BrindleRecorderLinux/Bus/BusService.hpp"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only.
class IconReader {
  public:
    /// Four bytes a pixel: alpha, red, green, blue, not premultiplied.
    struct Picture {
        int width = 0;
        int height = 0;
        std::vector<std::uint8_t> bytes;
    };
    struct Icon {
        std::vector<Picture> pictures; ///< the same in several sizes
        std::string title;
    };
    static constexpr std::size_t mostPictures = 32;
    static constexpr int mostPixels = 512; ///< in each direction

    /// The bus must be connected and outlive this. Whoever has that name is asked at once.
    IconReader(Bus& bus, const std::string& name, const std::string& path);

    /// Called when the icon has been read, and whenever it has changed.
    std::function<void(const Icon& icon)> onIcon;

    /// The pictures of a variant of signature a(iiay); nothing when it is none. Pictures that are
    /// too large or not whole are left out.
    static std::optional<std::vector<Picture>> read(sd_bus_message* pictures);

  private:
    void ask(const char* property, std::function<void(sd_bus_message* value)> take);
    void askForPictures();
    void askForTitle();
    void tell();

    const std::string name_;
    const std::string path_;
    BusService owner_;
    BusCalls calls_;
    Icon icon_;
};

} // namespace brindle
