#include "BrindleRecorderCore/Calls/ApplicationTable.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string_view>
#include <utility>

namespace brindle {
namespace {

TEST(ApplicationTable, EveryRowLeadsToAFamilyOrToAnIgnoredIdentifier) {
    std::set<std::pair<IdentitySource, std::string_view>> seen;
    for (const ApplicationRow& row : ApplicationTable::rows()) {
        const std::string_view identifier = row.program.identifier;
        EXPECT_NE(CallCatalog::family(identifier) != nullptr, CallCatalog::isIgnored(identifier))
            << row.name;
        EXPECT_FALSE(row.name.empty());
        EXPECT_FALSE(row.evidence.empty()) << row.name;
        EXPECT_TRUE(seen.emplace(row.source, row.name).second) << row.name << " is there twice";
    }
}

TEST(ApplicationTable, NamesEveryProgramThatTheCatalogDoesNot) {
    for (const ApplicationRow& row : ApplicationTable::rows()) {
        EXPECT_NE(CallCatalog::family(row.program.identifier) != nullptr, !row.program.name.empty())
            << row.name;
    }
}

TEST(ApplicationTable, FindsARowByItsExactName) {
    const ApplicationRow* const obs = ApplicationTable::find(IdentitySource::executable, "obs");
    ASSERT_NE(obs, nullptr);
    EXPECT_EQ(obs->program.name, "OBS Studio");
    EXPECT_TRUE(CallCatalog::isIgnored(obs->program.identifier));
    EXPECT_EQ(ApplicationTable::find(IdentitySource::executable, "OBS"), nullptr);
    EXPECT_EQ(ApplicationTable::find(IdentitySource::desktopEntry, "obs"), nullptr);
}

TEST(ApplicationTable, TellsTheFamiliesThatHaveNoProgramHere) {
    const auto absent = ApplicationTable::absentFamilies();
    EXPECT_TRUE(absent.contains("facetime"));
    EXPECT_FALSE(absent.contains("zoom"));
    EXPECT_FALSE(absent.contains("chrome"));
    EXPECT_FALSE(absent.contains(CallCatalog::otherApps().id));
}

TEST(ApplicationTable, KnowsWhichProgramsOnlyStartOthers) {
    EXPECT_EQ(
        ApplicationTable::find(IdentitySource::executable, "gnome-shell")->children,
        Children::areOthers);
    EXPECT_EQ(
        ApplicationTable::find(IdentitySource::executable, "zoom")->children, Children::belongToIt);
}

} // namespace
} // namespace brindle
