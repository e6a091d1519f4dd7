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
    test::InMemoryDefaultsStore store_;

    /// What the store holds under the key, as a list.
    Strings storedList(const std::string& key) {
        return store_.stringArray(key).value_or(Strings{"(no list)"});
    }
};

TEST_F(SettingsTest, AnEmptyStoreGivesTheDefaults) {
    const Settings settings{store_};
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), std::nullopt);
    EXPECT_EQ(settings.preferredAudioDeviceID.get(), std::nullopt);
    EXPECT_FALSE(settings.hasShownFirstRunWindow.get());
    EXPECT_THAT(settings.disabledCallFamilies.get(), ElementsAre("other"));
    EXPECT_FALSE(settings.askBeforeRecording.get());
}

TEST_F(SettingsTest, NothingIsWrittenAtConstruction) {
    const Settings settings{store_};
    EXPECT_THAT(store_.writtenKeys, IsEmpty());
    EXPECT_THAT(store_.values, IsEmpty());
}

TEST_F(SettingsTest, ReadsWhatIsStored) {
    store_.values = {
        {"preferredVideoDeviceID", std::string{"camera-1"}},
        {"preferredAudioDeviceID", std::string{"microphone-1"}},
        {"hasShownFirstRunWindow", true},
        {"disabledCallFamilies", Strings{"zoom", "chrome", "zoom"}},
        {"askBeforeRecording", true}};
    const Settings settings{store_};
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), "camera-1");
    EXPECT_EQ(settings.preferredAudioDeviceID.get(), "microphone-1");
    EXPECT_TRUE(settings.hasShownFirstRunWindow.get());
    EXPECT_THAT(settings.disabledCallFamilies.get(), ElementsAre("chrome", "zoom"));
    EXPECT_TRUE(settings.askBeforeRecording.get());
}

TEST_F(SettingsTest, AStoredEmptyListEnablesEveryFamily) {
    store_.values = {{"disabledCallFamilies", Strings{}}};
    EXPECT_THAT(Settings{store_}.disabledCallFamilies.get(), IsEmpty());
}

TEST_F(SettingsTest, AListWithANumberAmongItsStringsGivesTheDefaultFamilies) {
    store_.values = {{"disabledCallFamilies", test::InMemoryDefaultsStore::MixedList{}}};
    EXPECT_THAT(Settings{store_}.disabledCallFamilies.get(), ElementsAre("other"));
}

TEST_F(SettingsTest, ValuesOfAnotherTypeGiveTheDefaults) {
    store_.values = {
        {"preferredVideoDeviceID", true},
        {"preferredAudioDeviceID", Strings{"microphone-1"}},
        {"hasShownFirstRunWindow", std::string{"true"}},
        {"disabledCallFamilies", std::string{"zoom"}},
        {"askBeforeRecording", Strings{}}};
    const Settings settings{store_};
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), std::nullopt);
    EXPECT_EQ(settings.preferredAudioDeviceID.get(), std::nullopt);
    EXPECT_FALSE(settings.hasShownFirstRunWindow.get());
    EXPECT_THAT(settings.disabledCallFamilies.get(), ElementsAre("other"));
    EXPECT_FALSE(settings.askBeforeRecording.get());
}

TEST_F(SettingsTest, EveryAssignmentIsWrittenAtOnceUnderItsOwnKey) {
    Settings settings{store_};
    settings.preferredVideoDeviceID.set("camera-1");
    EXPECT_EQ(store_.string("preferredVideoDeviceID"), "camera-1");
    settings.preferredAudioDeviceID.set("microphone-1");
    EXPECT_EQ(store_.string("preferredAudioDeviceID"), "microphone-1");
    settings.hasShownFirstRunWindow.set(true);
    EXPECT_EQ(store_.boolean("hasShownFirstRunWindow"), true);
    settings.disabledCallFamilies.set({"zoom"});
    EXPECT_THAT(storedList("disabledCallFamilies"), ElementsAre("zoom"));
    settings.askBeforeRecording.set(true);
    EXPECT_EQ(store_.boolean("askBeforeRecording"), true);
    EXPECT_THAT(
        store_.writtenKeys,
        ElementsAre(
            "preferredVideoDeviceID", "preferredAudioDeviceID", "hasShownFirstRunWindow",
            "disabledCallFamilies", "askBeforeRecording"));
}

TEST_F(SettingsTest, AssigningTheDefaultStoresItToo) {
    Settings settings{store_};
    settings.askBeforeRecording.set(false);
    EXPECT_EQ(store_.boolean("askBeforeRecording"), false);
    settings.disabledCallFamilies.set({"other"});
    EXPECT_THAT(storedList("disabledCallFamilies"), ElementsAre("other"));
}

TEST_F(SettingsTest, SettingADeviceToAbsentRemovesTheKey) {
    store_.values = {
        {"preferredVideoDeviceID", std::string{"camera-1"}},
        {"preferredAudioDeviceID", std::string{"microphone-1"}}};
    Settings settings{store_};
    settings.preferredVideoDeviceID.set(std::nullopt);
    settings.preferredAudioDeviceID.set(std::nullopt);
    EXPECT_THAT(store_.values, IsEmpty());
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), std::nullopt);
}

TEST_F(SettingsTest, EnablingZoomAfterDisablingZoomAndTeamsStoresTeams) {
    store_.values = {{"disabledCallFamilies", Strings{}}};
    Settings settings{store_};
    settings.disabledCallFamilies.set({"zoom", "teams"});
    auto families = settings.disabledCallFamilies.get();
    families.erase("zoom");
    settings.disabledCallFamilies.set(families);
    EXPECT_THAT(storedList("disabledCallFamilies"), ElementsAre("teams"));
}

TEST_F(SettingsTest, TheFamiliesAreStoredInAscendingOrder) {
    Settings settings{store_};
    settings.disabledCallFamilies.set({"zoom", "arc", "other", "teams"});
    EXPECT_THAT(storedList("disabledCallFamilies"), ElementsAre("arc", "other", "teams", "zoom"));
}

TEST_F(SettingsTest, TellWhatTheDetectorIsToHeed) {
    Settings settings{store_};
    EXPECT_EQ(settings.callDetection(), CallDetectorConfig{});
    settings.disabledCallFamilies.set({"zoom"});
    settings.askBeforeRecording.set(true);
    EXPECT_EQ(
        settings.callDetection(),
        (CallDetectorConfig{.disabledFamilies = {"zoom"}, .askBeforeRecording = true}));
}

TEST_F(SettingsTest, ObserversFindTheNewValueInTheSettingsAndInTheStore) {
    Settings settings{store_};
    std::vector<bool> seen;
    const auto observation = settings.askBeforeRecording.observe([&](const bool& value) {
        seen = {
            value, settings.askBeforeRecording.get(), store_.boolean("askBeforeRecording") == true};
    });
    settings.askBeforeRecording.set(true);
    EXPECT_THAT(seen, ElementsAre(true, true, true));
}

TEST_F(SettingsTest, EveryPreferencePublishesItsChanges) {
    Settings settings{store_};
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
    EXPECT_EQ(settings.changes().get(), changed.size());
}

TEST_F(SettingsTest, AnEqualValueIsNoChange) {
    Settings settings{store_};
    settings.askBeforeRecording.set(false);
    settings.disabledCallFamilies.set({"other"});
    EXPECT_EQ(settings.changes().get(), 0U);
}

TEST_F(SettingsTest, AnObserverThatSetsThePreferenceAgainHasTheLastWordInTheStoreToo) {
    Settings settings{store_};
    const auto observation =
        settings.preferredVideoDeviceID.observe([&](const std::optional<std::string>& value) {
            if (value == "gone") {
                settings.preferredVideoDeviceID.set("camera-2");
            }
        });
    settings.preferredVideoDeviceID.set("gone");
    EXPECT_EQ(settings.preferredVideoDeviceID.get(), "camera-2");
    EXPECT_EQ(store_.string("preferredVideoDeviceID"), "camera-2");
}

} // namespace
} // namespace brindle
