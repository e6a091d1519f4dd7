#include "BrindleRecorderApp/Shell/CompanionApplication.hpp"

#include "Support/FakeProcessRegistry.hpp"
#include "Support/FakeWorkspace.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Path = std::filesystem::path;

class CompanionApplicationTest : public testing::Test {
  protected:
    test::FakeWorkspace workspace_;
    test::FakeProcessRegistry processes_;

    void isInstalledAt(const Path& place) {
        workspace_.installed["com.tamsworth.brindlecontent"] = place;
    }
    std::vector<Path> opened() {
        CompanionApplication::open(workspace_, processes_);
        return workspace_.openedApplications;
    }
};

TEST_F(CompanionApplicationTest, OpensTheOneThatContainsThisProgram) {
    isInstalledAt("/Applications/Other Copy.app");
    workspace_.ownPlace = "/Applications/Content.app/Contents/Library/Brindle Recorder.app";
    processes_.applications["/Applications/Content.app"] = "com.tamsworth.brindlecontent";
    EXPECT_THAT(opened(), ElementsAre(Path{"/Applications/Content.app"}));
    EXPECT_THAT(workspace_.lookups, IsEmpty());
}

TEST_F(CompanionApplicationTest, AsksTheDesktopWhenItIsInstalledOnItsOwn) {
    isInstalledAt("/Applications/Content.app");
    workspace_.ownPlace = "/Applications/Brindle Recorder.app";
    EXPECT_THAT(opened(), ElementsAre(Path{"/Applications/Content.app"}));
    EXPECT_THAT(workspace_.lookups, ElementsAre("com.tamsworth.brindlecontent"));
}

TEST_F(CompanionApplicationTest, AsksTheDesktopWhenItsOwnPlaceIsUnknown) {
    isInstalledAt("/usr/share/applications/content.desktop");
    EXPECT_THAT(opened(), ElementsAre(Path{"/usr/share/applications/content.desktop"}));
}

TEST_F(CompanionApplicationTest, AsksTheDesktopWhenAnotherApplicationContainsThisProgram) {
    isInstalledAt("/Applications/Content.app");
    workspace_.ownPlace = "/Applications/Bundle.app/Contents/Brindle Recorder.app";
    processes_.applications["/Applications/Bundle.app"] = "com.example.bundle";
    EXPECT_THAT(opened(), ElementsAre(Path{"/Applications/Content.app"}));
}

TEST_F(CompanionApplicationTest, OnlyTheNearestEnclosingApplicationCounts) {
    workspace_.ownPlace = "/Content.app/Inner.app/Brindle Recorder.app";
    processes_.applications = {
        {"/Content.app", "com.tamsworth.brindlecontent"}, {"/Content.app/Inner.app", "inner"}};
    EXPECT_THAT(opened(), IsEmpty());
    EXPECT_THAT(workspace_.lookups, ElementsAre("com.tamsworth.brindlecontent"));
}

TEST_F(CompanionApplicationTest, TheProgramItselfDoesNotEncloseItself) {
    for (const char* place : {"/Applications/Recorder.app", "/Applications/Recorder.app/"}) {
        workspace_.ownPlace = place;
        processes_.applications["/Applications/Recorder.app"] = "com.tamsworth.brindlecontent";
        EXPECT_EQ(CompanionApplication::find(workspace_, processes_), std::nullopt) << place;
    }
}

TEST_F(CompanionApplicationTest, OnlyTheExtensionMakesAFolderAnApplication) {
    workspace_.ownPlace = "/opt/app/.app/content.application/brindle-recorder";
    processes_.applications = {
        {"/opt/app", "com.tamsworth.brindlecontent"},
        {"/opt/app/.app", "com.tamsworth.brindlecontent"},
        {"/opt/app/.app/content.application", "com.tamsworth.brindlecontent"}};
    EXPECT_EQ(CompanionApplication::find(workspace_, processes_), std::nullopt);
}

TEST_F(CompanionApplicationTest, NothingHappensWhenItIsNowhere) {
    workspace_.ownPlace = "/usr/bin/brindle-recorder";
    EXPECT_THAT(opened(), IsEmpty());
}

TEST_F(CompanionApplicationTest, ARelativePlaceHasAnEndToo) {
    workspace_.ownPlace = "bin/brindle-recorder";
    EXPECT_THAT(opened(), IsEmpty());
}

} // namespace
} // namespace brindle
