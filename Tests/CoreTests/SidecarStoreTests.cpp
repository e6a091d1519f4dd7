#include "BrindleRecorderCore/Recordings/SidecarStore.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "Support/ExampleSidecar.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/NamedTimeZone.hpp"
#include "Support/TemporaryFolder.hpp"

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>

namespace brindle {
namespace {

using test::exampleSidecar;
using test::InMemoryFileManager;
using Operation = InMemoryFileManager::Operation;

const std::filesystem::path folder = "/home/user/Movies/Brindle";
const std::filesystem::path path = folder / "2025-03-14_0930.json";
const TimeZone utc = TimeZone::utc();

Sidecar otherSidecar() {
    Sidecar sidecar = exampleSidecar();
    sidecar.roomCode = "another#2";
    return sidecar;
}

/// A disk that holds the example sidecar.
class SidecarStoreTest : public testing::Test {
  protected:
    SidecarStoreTest() { disk_.putFile(path, SidecarCoding::encode(exampleSidecar(), utc)); }

    InMemoryFileManager disk_;
};

/// The code of the file error that it must be.
std::error_code fileErrorOf(const Expected<Sidecar, SidecarError>& read) {
    if (read) {
        ADD_FAILURE() << "it was read";
        return {};
    }
    const auto* error = std::get_if<FileError>(&read.error().cause);
    if (error == nullptr) {
        ADD_FAILURE() << read.error().description();
        return {};
    }
    EXPECT_EQ(read.error().description(), error->description());
    return error->code;
}

TEST_F(SidecarStoreTest, ReadsWhatItWrote) {
    ASSERT_TRUE(SidecarStore::write(disk_, otherSidecar(), path, utc));
    EXPECT_EQ(SidecarStore::read(disk_, path), otherSidecar());
    EXPECT_EQ(disk_.contents(path), SidecarCoding::encode(otherSidecar(), utc));
    EXPECT_EQ(disk_.files().size(), 1U);
}

TEST_F(SidecarStoreTest, WritesInTheZoneItIsGiven) {
    const TimeZone kathmandu = test::timeZoneNamed("Asia/Kathmandu");
    ASSERT_TRUE(SidecarStore::write(disk_, exampleSidecar(), path, kathmandu));
    EXPECT_NE(disk_.contents(path)->find("2025-03-14T14:15:12+05:45"), std::string::npos);
}

TEST_F(SidecarStoreTest, SurvivesALossOfPowerOnceWritten) {
    ASSERT_TRUE(SidecarStore::write(disk_, otherSidecar(), path, utc));
    disk_.losePower();
    EXPECT_EQ(SidecarStore::read(disk_, path), otherSidecar());
}

TEST_F(SidecarStoreTest, LeavesTheOldSidecarAloneWhenWritingFails) {
    for (const Operation operation : {Operation::createSyncedFile, Operation::moveFile}) {
        disk_.failEveryCall(operation, std::errc::no_space_on_device);
        const auto written = SidecarStore::write(disk_, otherSidecar(), path, utc);
        ASSERT_FALSE(written);
        EXPECT_EQ(written.error().code, std::errc::no_space_on_device);
        disk_.stopFailing();
        EXPECT_EQ(SidecarStore::read(disk_, path), exampleSidecar());
        EXPECT_EQ(disk_.files(), std::vector{path}); // no temporary file stays behind
    }
}

TEST_F(SidecarStoreTest, HasTheOldOrTheNewSidecarWhicheverCallFails) {
    for (int call = 1;; ++call) {
        SCOPED_TRACE(call);
        disk_.putFile(path, SidecarCoding::encode(exampleSidecar(), utc));
        disk_.failAnyCall(call);
        const bool written = SidecarStore::write(disk_, otherSidecar(), path, utc).has_value();
        disk_.stopFailing();
        for (const bool afterLossOfPower : {false, true}) {
            const auto read = SidecarStore::read(disk_, path);
            ASSERT_TRUE(read) << read.error().description();
            EXPECT_TRUE(*read == otherSidecar() || (!written && *read == exampleSidecar()));
            if (!afterLossOfPower) {
                disk_.losePower();
            }
        }
        if (written) {
            EXPECT_GT(call, 3); // creating, moving and syncing have each failed once
            break;
        }
    }
}

TEST_F(SidecarStoreTest, FailsToWriteIntoAMissingFolder) {
    const auto written = SidecarStore::write(disk_, exampleSidecar(), "/nowhere/a.json", utc);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error().code, std::errc::no_such_file_or_directory);
}

TEST_F(SidecarStoreTest, DoesNotWriteWhatItCouldNotRead) {
    Sidecar large = exampleSidecar();
    const auto overhead = SidecarCoding::encode(large, utc).size() - large.roomCode.size();
    large.roomCode.assign(static_cast<std::size_t>(SidecarStore::maxBytes) - overhead, 'x');
    ASSERT_TRUE(SidecarStore::write(disk_, large, path, utc));
    EXPECT_EQ(SidecarStore::read(disk_, path), large);

    Sidecar larger = large;
    larger.roomCode += 'x';
    const auto written = SidecarStore::write(disk_, larger, path, utc);
    ASSERT_FALSE(written);
    EXPECT_EQ(written.error(), (FileError{make_error_code(std::errc::file_too_large), path}));
    EXPECT_EQ(SidecarStore::read(disk_, path), large);
}

TEST_F(SidecarStoreTest, FailsToReadAMissingFile) {
    EXPECT_EQ(
        fileErrorOf(SidecarStore::read(disk_, folder / "missing.json")),
        std::errc::no_such_file_or_directory);
}

TEST_F(SidecarStoreTest, FailsToReadADirectory) {
    EXPECT_EQ(fileErrorOf(SidecarStore::read(disk_, folder)), std::errc::is_a_directory);
}

TEST_F(SidecarStoreTest, FailsToReadAnEmptyFile) {
    disk_.putFile(path, "");
    const auto read = SidecarStore::read(disk_, path);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().description(), "Not valid JSON: the text is empty.");
}

TEST_F(SidecarStoreTest, PassesAFileErrorOnUnchanged) {
    disk_.failEveryCallWith(path, std::errc::permission_denied);
    const auto read = SidecarStore::read(disk_, path);
    ASSERT_FALSE(read);
    EXPECT_EQ(
        read.error(),
        (SidecarError{FileError{make_error_code(std::errc::permission_denied), path}}));
}

TEST_F(SidecarStoreTest, PassesADecodingErrorOnUnchanged) {
    disk_.putFile(path, "{}");
    const auto read = SidecarStore::read(disk_, path);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error(), SidecarError{SidecarCoding::decode("{}").error()});
    EXPECT_EQ(read.error().description(), "\"roomCode\" is missing.");
}

TEST_F(SidecarStoreTest, DoesNotEvenReadAHundredMegabytesOfBlanks) {
    std::string blanks;
    blanks.resize(100'000'000, ' ');
    disk_.putFile(path, std::move(blanks));
    EXPECT_EQ(fileErrorOf(SidecarStore::read(disk_, path)), std::errc::file_too_large);
}

TEST_F(SidecarStoreTest, RefusesAnyFileAboveTheLimit) {
    std::string text = SidecarCoding::encode(exampleSidecar(), utc);
    text.resize(static_cast<std::size_t>(SidecarStore::maxBytes), ' ');
    disk_.putFile(path, text);
    EXPECT_EQ(SidecarStore::read(disk_, path), exampleSidecar());
    disk_.putFile(path, text + ' ');
    EXPECT_EQ(fileErrorOf(SidecarStore::read(disk_, path)), std::errc::file_too_large);
}

TEST(SidecarStoreOnDisk, WritesPrivateFilesAndReadsThemBack) {
    const test::TemporaryFolder temporary;
    PosixFileManager disk;
    const auto file = temporary.path() / "a.json";
    for (const Sidecar& sidecar : {exampleSidecar(), otherSidecar()}) {
        const auto written = SidecarStore::write(disk, sidecar, file, utc);
        ASSERT_TRUE(written) << written.error().description();
        EXPECT_EQ(SidecarStore::read(disk, file), sidecar);
    }
    using std::filesystem::perms;
    EXPECT_EQ(std::filesystem::status(file).permissions(), perms::owner_read | perms::owner_write);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator{temporary.path()}, {}), 1);
}

TEST(SidecarStoreOnDisk, FailsToReadWhatIsNoSidecarFile) {
    const test::TemporaryFolder temporary;
    const PosixFileManager disk;
    EXPECT_EQ(
        fileErrorOf(SidecarStore::read(disk, temporary.path() / "missing.json")),
        std::errc::no_such_file_or_directory);
    EXPECT_EQ(fileErrorOf(SidecarStore::read(disk, temporary.path())), std::errc::is_a_directory);
    const auto empty = temporary.path() / "empty.json";
    std::ofstream{empty}.flush();
    const auto read = SidecarStore::read(disk, empty);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().description(), "Not valid JSON: the text is empty.");
}

} // namespace
} // namespace brindle
