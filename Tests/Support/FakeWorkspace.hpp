// A desktop whose settings a test changes, and which notes what it was asked to open.
#pragma once

#include "BrindleRecorderApp/Platform/Listeners.hpp"
#include "BrindleRecorderApp/Platform/Workspace.hpp"

#include <cstddef>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace brindle::test {

class FakeWorkspace final : public Workspace {
  public:
    std::optional<std::filesystem::path> ownPlace;
    /// The installed applications by identifier.
    std::map<std::string, std::filesystem::path> installed;

    /// What was opened, in order.
    std::vector<std::filesystem::path> openedFolders;
    std::vector<std::filesystem::path> openedApplications;
    /// The applications that were looked for, in order.
    mutable std::vector<std::string> lookups;

    /// The user changes a setting; whoever listens is told at once.
    void setReducesMotion(bool reduces) {
        reducesMotion_ = reduces;
        motionListeners_.call();
    }
    void setAppearance(Appearance appearance) {
        appearance_ = appearance;
        appearanceListeners_.call();
    }
    [[nodiscard]] std::size_t motionListeners() const { return motionListeners_.count(); }
    [[nodiscard]] std::size_t appearanceListeners() const { return appearanceListeners_.count(); }

    void openFolder(const std::filesystem::path& folder) override {
        openedFolders.push_back(folder);
    }
    [[nodiscard]] std::optional<std::filesystem::path> ownApplication() const override {
        return ownPlace;
    }
    [[nodiscard]] std::optional<std::filesystem::path>
    application(const std::string& bundleIdentifier) const override {
        lookups.push_back(bundleIdentifier);
        const auto found = installed.find(bundleIdentifier);
        return found == installed.end() ? std::nullopt : std::optional{found->second};
    }
    void openApplication(const std::filesystem::path& application) override {
        openedApplications.push_back(application);
    }
    [[nodiscard]] bool reducesMotion() const override { return reducesMotion_; }
    [[nodiscard]] std::unique_ptr<Observation> observeReduceMotion(Listener listener) override {
        return motionListeners_.add(std::move(listener));
    }
    [[nodiscard]] Appearance appearance() const override { return appearance_; }
    [[nodiscard]] std::unique_ptr<Observation> observeAppearance(Listener listener) override {
        return appearanceListeners_.add(std::move(listener));
    }

  private:
    bool reducesMotion_ = false;
    Appearance appearance_ = Appearance::light;
    Listeners<> motionListeners_;
    Listeners<> appearanceListeners_;
};

} // namespace brindle::test
