// The user's preferences in one JSON file; in another what the program remembers for itself.
#pragma once

#include "BrindleRecorderApp/Platform/DefaultsStore.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderCore/Base/FileManager.hpp"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// The file holds one JSON object with a member for each key: a string, a boolean or a list of
/// strings. Members of other types, which another version may have written, read as absent and are
/// kept as they are. Main thread only.
///
/// The file is read once, at construction, and replaced in one step at each write. One that cannot
/// be read as such an object is set aside as "<file>.damaged-<n>" and the defaults hold; what
/// cannot be set aside is not overwritten either. When a write fails the file stays as it was, what
/// was set is answered for as long as the program runs, and the next write tries again with
/// everything.
///
/// Text that is not UTF-8 is stored with U+FFFD in place of what is wrong.
class JsonDefaultsStore final : public DefaultsStore {
  public:
    /// Receives one line when the file is set aside, and one when a write fails; then none about
    /// writes until one has succeeded.
    using Log = std::function<void(const std::string& line)>;

    /// The greatest size of a file that is read, and of one that is written.
    static constexpr std::int64_t maxFileBytes = 1 << 20;
    /// How deep lists and objects of other versions may nest. Deeper ones count as damage.
    static constexpr int maxDepth = 32;

    /// preferences.json in this application's folder in the user's configuration folder.
    static std::filesystem::path standardFile();
    /// state.json in this application's folder in the user's folder for state.
    static std::filesystem::path standardStateFile();

    /// The file manager must outlive the store. The file and its folder need not be there.
    JsonDefaultsStore(FileManager& fileManager, std::filesystem::path file, Log log);
    ~JsonDefaultsStore() override;
    JsonDefaultsStore(const JsonDefaultsStore&) = delete;
    JsonDefaultsStore& operator=(const JsonDefaultsStore&) = delete;

    [[nodiscard]] std::optional<std::string> string(const std::string& key) const override;
    [[nodiscard]] std::optional<bool> boolean(const std::string& key) const override;
    [[nodiscard]] std::optional<std::vector<std::string>>
    stringArray(const std::string& key) const override;

    void setString(const std::string& key, const std::string& value) override;
    void setBoolean(const std::string& key, bool value) override;
    void setStringArray(const std::string& key, const std::vector<std::string>& value) override;
    void remove(const std::string& key) override;

  private:
    /// Why something did not work, in words.
    using Reason = std::string;

    /// The file's object; empty when there is no file.
    [[nodiscard]] Expected<nlohmann::ordered_json, Reason> read() const;
    Expected<void, Reason> setAside(const Reason& damage);
    void write();
    Expected<void, Reason> tryToWrite();

    FileManager& fileManager_;
    const std::filesystem::path file_;
    const Log log_;
    std::unique_ptr<nlohmann::ordered_json> members_;
    /// What is wrong with the file that is still in its place.
    std::optional<Reason> damageInPlace_;
    bool writeFailureLogged_ = false;
};

} // namespace brindle
