#include "BrindleRecorderApp/Settings.hpp"

#include "Support/InMemoryDefaultsStore.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Strings = std::vector<std::string>;

class SettingsTest : public testing::Test {
  protected:
    test::InMemoryDefaultsStore store;

    /// What the store holds under the key, as a list.
    Strings storedList(const std::string& key) {
        return store.stringArray(key).value_or(Strings{"(no list)"});
    }
};

TEST_F(SettingsTest, AnEmptyStoreGivesTheDefaults) {
    const Settings settings{store};
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), std::nullopt);
    EXPECT_EQ(settings.preferredAudioDeviceID.get(), std::nullopt);
    EXPECT_FALSE(settings.hasShownFirstRunWindow.get());
    EXPECT_THAT(settings.disabledCallFamilies.get(), ElementsAre("other"));
    EXPECT_FALSE(settings.askBeforeRecording.get());
}

TEST_F(SettingsTest, NothingIsWrittenAtConstruction) {
    const Settings settings{store};
    EXPECT_THAT(store.writtenKeys, IsEmpty());
    EXPECT_THAT(store.values, IsEmpty());
}

TEST_F(SettingsTest, ReadsWhatIsStored) {
    store.values = {
        {"preferredVideoDeviceID", std::string{"camera-1"}},
        {"preferredAudioDeviceID", std::string{"microphone-1"}},
        {"hasShownFirstRunWindow", true},
        {"disabledCallFamilies", Strings{"zoom", "chrome", "zoom"}},
        {"askBeforeRecording", true}};
    const Settings settings{store};
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), "camera-1");
    EXPECT_EQ(settings.preferredAudioDeviceID.get(), "microphone-1");
    EXPECT_TRUE(settings.hasShownFirstRunWindow.get());
    EXPECT_THAT(settings.disabledCallFamilies.get(), ElementsAre("chrome", "zoom"));
    EXPECT_TRUE(settings.askBeforeRecording.get());
}

TEST_F(SettingsTest, AStoredEmptyListEnablesEveryFamily) {
    store.values = {{"disabledCallFamilies", Strings{}}};
    EXPECT_THAT(Settings{store}.disabledCallFamilies.get(), IsEmpty());
}

TEST_F(SettingsTest, AListWithANumberAmongItsStringsGivesTheDefaultFamilies) {
    store.values = {{"disabledCallFamilies", test::InMemoryDefaultsStore::MixedList{}}};
    EXPECT_THAT(Settings{store}.disabledCallFamilies.get(), ElementsAre("other"));
}

TEST_F(SettingsTest, ValuesOfAnotherTypeGiveTheDefaults) {
    store.values = {
        {"preferredVideoDeviceID", true},
        {"preferredAudioDeviceID", Strings{"microphone-1"}},
        {"hasShownFirstRunWindow", std::string{"true"}},
        {"disabledCallFamilies", std::string{"zoom"}},
        {"askBeforeRecording", Strings{}}};
    const Settings settings{store};
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), std::nullopt);
    EXPECT_EQ(settings.preferredAudioDeviceID.get(), std::nullopt);
    EXPECT_FALSE(settings.hasShownFirstRunWindow.get());
    EXPECT_THAT(settings.disabledCallFamilies.get(), ElementsAre("other"));
    EXPECT_FALSE(settings.askBeforeRecording.get());
}

TEST_F(SettingsTest, EveryAssignmentIsWrittenAtOnceUnderItsOwnKey) {
    Settings settings{store};
    settings.preferredVideoDeviceID.set("camera-1");
    EXPECT_EQ(store.string("preferredVideoDeviceID"), "camera-1");
    settings.preferredAudioDeviceID.set("microphone-1");
    EXPECT_EQ(store.string("preferredAudioDeviceID"), "microphone-1");
    settings.hasShownFirstRunWindow.set(true);
    EXPECT_EQ(store.boolean("hasShownFirstRunWindow"), true);
    settings.disabledCallFamilies.set({"zoom"});
    EXPECT_THAT(storedList("disabledCallFamilies"), ElementsAre("zoom"));
    settings.askBeforeRecording.set(true);
    EXPECT_EQ(store.boolean("askBeforeRecording"), true);
    EXPECT_THAT(
        store.writtenKeys,
        ElementsAre(
            "preferredVideoDeviceID", "preferredAudioDeviceID", "hasShownFirstRunWindow",
            "disabledCallFamilies", "askBeforeRecording"));
}

TEST_F(SettingsTest, AssigningTheDefaultStoresItToo) {
    Settings settings{store};
    settings.askBeforeRecording.set(false);
    EXPECT_EQ(store.boolean("askBeforeRecording"), false);
    settings.disabledCallFamilies.set({"other"});
    EXPECT_THAT(storedList("disabledCallFamilies"), ElementsAre("other"));
}

TEST_F(SettingsTest, SettingADeviceToAbsentRemovesTheKey) {
    store.values = {
        {"preferredVideoDeviceID", std::string{"camera-1"}},
        {"preferredAudioDeviceID", std::string{"microphone-1"}}};
    Settings settings{store};
    settings.preferredVideoDeviceID.set(std::nullopt);
    settings.preferredAudioDeviceID.set(std::nullopt);
    EXPECT_THAT(store.values, IsEmpty());
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), std::nullopt);
}

TEST_F(SettingsTest, EnablingZoomAfterDisablingZoomAndTeamsStoresTeams) {
    store.values = {{"disabledCallFamilies", Strings{}}};
    Settings settings{store};
    settings.disabledCallFamilies.set({"zoom", "teams"});
    auto families = settings.disabledCallFamilies.get();
    families.erase("zoom");
    settings.disabledCallFamilies.set(families);
    EXPECT_THAT(storedList("disabledCallFamilies"), ElementsAre("teams"));
}

TEST_F(SettingsTest, TheFamiliesAreStoredInAscendingOrder) {
    Settings settings{store};
    settings.disabledCallFamilies.set({"zoom", "arc", "other", "teams"});
    EXPECT_THAT(storedList("disabledCallFamilies"), ElementsAre("arc", "other", "teams", "zoom"));
}

TEST_F(SettingsTest, ObserversFindTheNewValueInTheSettingsAndInTheStore) {
    Settings settings{store};
    std::vector<bool> seen;
    const auto observation = settings.askBeforeRecording.observe([&](const bool& value) {
        seen = {value, settings.askBeforeRecording.get(), *store.boolean("askBeforeRecording")};
    });
    settings.askBeforeRecording.set(true);
    EXPECT_THAT(seen, ElementsAre(true, true, true));
}

TEST_F(SettingsTest, EveryPreferencePublishesItsChanges) {
    Settings settings{store};
    Strings changed;
    const std::vector<std::unique_ptr<Observation>> observations = [&] {
        std::vector<std::unique_ptr<Observation>> all;
        const auto watch = [&](auto& preference, const char* name) {
            all.push_back(
                preference.observe([&changed, name](const auto&) { changed.emplace_back(name); }));
        };
        watch(settings.preferredVideoDeviceID, "video");
        watch(settings.preferredAudioDeviceID, "audio");
        watch(settings.hasShownFirstRunWindow, "shown");
        watch(settings.disabledCallFamilies, "families");
        watch(settings.askBeforeRecording, "ask");
        return all;
    }();
    settings.askBeforeRecording.set(true);
    settings.disabledCallFamilies.set({});
    settings.hasShownFirstRunWindow.set(true);
    settings.preferredAudioDeviceID.set("microphone-1");
    settings.preferredVideoDeviceID.set("camera-1");
    EXPECT_THAT(changed, ElementsAre("ask", "families", "shown", "audio", "video"));
}

TEST_F(SettingsTest, AnObserverThatSetsThePreferenceAgainHasTheLastWordInTheStoreToo) {
    Settings settings{store};
    const auto observation =
        settings.preferredVideoDeviceID.observe([&](const std::optional<std::string>& value) {
            if (value == "gone") {
                settings.preferredVideoDeviceID.set("camera-2");
            }
        });
    settings.preferredVideoDeviceID.set("gone");
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), "camera-2");
    EXPECT_EQ(store.string("preferredVideoDeviceID"), "camera-2");
}

} // namespace
} // namespace brindle
