#include "LinuxTests/IconPng.hpp"

#include <png.h>

#include <stdexcept>

namespace brindle::test {

namespace {

png_image description() {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    return image;
}

void require(bool done, const std::filesystem::path& file, const png_image& image) {
    if (!done) {
        throw std::runtime_error{file.string() + ": " + image.message};
    }
}

} // namespace

IconPicture readPng(const std::filesystem::path& file) {
    png_image image = description();
    require(png_image_begin_read_from_file(&image, file.c_str()) != 0, file, image);
    image.format = PNG_FORMAT_ARGB;
    IconPicture picture{static_cast<int>(image.width), {}};
    picture.bytes.resize(PNG_IMAGE_SIZE(image));
    const bool isRead =
        png_image_finish_read(&image, nullptr, picture.bytes.data(), 0, nullptr) != 0;
    require(isRead && image.width == image.height, file, image);
    return picture;
}

void writePng(const IconPicture& picture, const std::filesystem::path& file) {
    png_image image = description();
    image.width = image.height = static_cast<png_uint_32>(picture.side);
    image.format = PNG_FORMAT_ARGB;
    require(
        png_image_write_to_file(&image, file.c_str(), 0, picture.bytes.data(), 0, nullptr) != 0,
        file, image);
}

} // namespace brindle::test
