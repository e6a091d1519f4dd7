// The program beside itself, on one session bus and on two.
#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderApp/Shell/SingleInstance.hpp"
#include "BrindleRecorderLinux/DBus/SessionBusNames.hpp"
#include "BrindleRecorderLinux/Files/FolderLock.hpp"
#include "DesktopTests/Bus.hpp"
#include "Support/TemporaryFolder.hpp"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

namespace brindle {
namespace {

const std::string identifier{AppInfo::bundleIdentifier};

/// What a copy finds that starts on that bus. All copies here are one process, so that the number
/// of the process that asks is another one's.
bool findsAnother(QDBusConnection bus, const SessionBusNames& names) {
    const auto owner = bus.interface()->serviceOwner(QString::fromStdString(identifier)).value();
    const auto own = static_cast<std::int32_t>(QCoreApplication::applicationPid());
    return SingleInstance::anotherCopyRuns(
        names, owner == bus.baseService() ? own : own + 1, identifier);
}

TEST(SingleInstanceOnTheBus, TheFirstStaysAndTheSecondLeaves) {
    const BusClient first;
    const BusClient second;
    const SessionBusNames firstNames{first.bus(), AppInfo::sameAppBundleIdentifiers(identifier)};
    const SessionBusNames secondNames{second.bus(), AppInfo::sameAppBundleIdentifiers(identifier)};
    EXPECT_FALSE(findsAnother(first.bus(), firstNames));
    EXPECT_TRUE(findsAnother(second.bus(), secondNames));
}

TEST(SingleInstanceOnTheBus, ACopyUnderTheEarlierNameCounts) {
    const BusClient earlier;
    const SessionBusNames earlierNames{
        earlier.bus(), {std::string{AppInfo::earlierBundleIdentifier}}};
    const BusClient later;
    const SessionBusNames laterNames{later.bus(), AppInfo::sameAppBundleIdentifiers(identifier)};
    const auto own = static_cast<std::int32_t>(QCoreApplication::applicationPid());
    EXPECT_TRUE(SingleInstance::anotherCopyRuns(laterNames, own + 1, identifier));
}

TEST(SingleInstanceOnTheBus, ACopyThatEndsLeavesThePlaceToTheNext) {
    std::optional<BusClient> first{std::in_place};
    std::optional<SessionBusNames> names{
        std::in_place, first->bus(), AppInfo::sameAppBundleIdentifiers(identifier)};
    names.reset();
    first.reset();
    const BusClient second;
    EXPECT_TRUE(waitUntil([&] {
        return !second.bus().interface()->isServiceRegistered(QString::fromStdString(identifier));
    }));
    const SessionBusNames secondNames{second.bus(), AppInfo::sameAppBundleIdentifiers(identifier)};
    EXPECT_FALSE(findsAnother(second.bus(), secondNames));
}

TEST(FolderLock, OneAtATime) {
    const test::TemporaryFolder folder;
    std::optional<FolderLock> first{std::in_place, folder.path()};
    EXPECT_FALSE(first->isHeldByAnother());
    EXPECT_TRUE(FolderLock{folder.path()}.isHeldByAnother());
    first.reset();
    EXPECT_FALSE(FolderLock{folder.path()}.isHeldByAnother());
}

TEST(FolderLock, AMissingFolderIsNobodys) {
    EXPECT_FALSE(FolderLock{"/nowhere/at/all"}.isHeldByAnother());
}

} // namespace
} // namespace brindle
