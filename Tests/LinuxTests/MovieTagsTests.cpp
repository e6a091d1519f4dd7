#include "BrindleRecorderLinux/Capture/Media/MovieTags.hpp"

#include <gtest/gtest.h>

#include <string>

namespace brindle::media {
namespace {

/// What counts as the program of a movie that names this one.
std::string programOf(const std::string& text) {
    const FormatHandle movie{avformat_alloc_context()};
    av_dict_set(&movie->metadata, "encoder", text.c_str(), 0);
    return MovieTags::of(*movie).program;
}

TEST(MovieTagsTest, AreUnknownWhereTheMovieSaysNothing) {
    const FormatHandle movie{avformat_alloc_context()};
    const MovieTags tags = MovieTags::of(*movie);
    EXPECT_EQ(tags.program, "");
    EXPECT_EQ(tags.creationTime, "");
}

TEST(MovieTagsTest, AreUnknownWhereTheyAreNoPlainShortText) {
    EXPECT_EQ(programOf("Lavf59.27.100"), "Lavf59.27.100");
    EXPECT_EQ(programOf(std::string(64, 'x')), std::string(64, 'x'));
    EXPECT_EQ(programOf(std::string(65, 'x')), "");
    EXPECT_EQ(programOf("two\nlines"), "");
    EXPECT_EQ(programOf("\x80\xFF"), "");
}

} // namespace
} // namespace brindle::media
