#include "BrindleRecorderLinux/Files/JsonDefaultsStore.hpp"

#include "BrindleRecorderCore/Base/AtomicFile.hpp"
#include "BrindleRecorderLinux/Files/UserFolders.hpp"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <utility>

namespace brindle {

namespace {

using Json = nlohmann::ordered_json;

/// The object that the text holds; nothing for any other text.
std::optional<Json> parseObject(const std::string& text) {
    bool tooDeep = false;
    // Deep nesting is cut off while it is read: what writes a value descends into it by recursion.
    const auto withinDepth = [&tooDeep](int depth, Json::parse_event_t, Json&) {
        tooDeep = tooDeep || depth > JsonDefaultsStore::maxDepth;
        return !tooDeep;
    };
    constexpr bool throwing = false;
    Json parsed = Json::parse(text, withinDepth, throwing);
    if (tooDeep || !parsed.is_object()) {
        return std::nullopt;
    }
    return parsed;
}

template <class Value>
std::optional<Value> valueOf(const Json& json) {
    const auto* value = json.get_ptr<const Value*>();
    return value != nullptr ? std::optional{*value} : std::nullopt;
}

template <class Value>
std::optional<Value> memberOf(const Json& object, const std::string& key) {
    const auto member = object.find(key);
    return member != object.end() ? valueOf<Value>(*member) : std::nullopt;
}

} // namespace

std::filesystem::path JsonDefaultsStore::standardFile() {
    return UserFolders::configuration() / "brindle-recorder" / "preferences.json";
}

std::filesystem::path JsonDefaultsStore::standardStateFile() {
    return UserFolders::state() / "brindle-recorder" / "state.json";
}

JsonDefaultsStore::JsonDefaultsStore(FileManager& fileManager, std::filesystem::path file, Log log)
    : fileManager_{fileManager}, file_{std::move(file)}, log_{std::move(log)},
      members_{std::make_unique<Json>(Json::object())} {
    if (auto members = read()) {
        *members_ = *std::move(members);
    } else if (const auto moved = setAside(members.error()); !moved) {
        log_(fmt::format(
            "{} unreadable: {} reason={} not set aside={}", file_.stem().string(),
            file_.filename().string(), members.error(), moved.error()));
    }
}

JsonDefaultsStore::~JsonDefaultsStore() = default;

Expected<nlohmann::ordered_json, JsonDefaultsStore::Reason> JsonDefaultsStore::read() const {
    const auto text = fileManager_.readFile(file_, maxFileBytes);
    if (!text) {
        if (text.error().code == std::errc::no_such_file_or_directory) {
            return Json::object();
        }
        return unexpected{text.error().code.message()};
    }
    auto members = parseObject(*text);
    if (!members) {
        return unexpected{Reason{"not an object of " + file_.stem().string()}};
    }
    return *std::move(members);
}

Expected<void, JsonDefaultsStore::Reason> JsonDefaultsStore::setAside(const Reason& damage) {
    damageInPlace_ = damage;
    constexpr int mostSetAside = 1000;
    std::filesystem::path aside;
    int number = 0;
    do {
        if (number == mostSetAside) {
            return unexpected{Reason{"no name is free"}};
        }
        aside = file_;
        aside += fmt::format(".damaged-{}", ++number);
    } while (fileManager_.fileExists(aside));
    if (const auto moved = fileManager_.moveFile(file_, aside); !moved) {
        return unexpected{moved.error().code.message()};
    }
    damageInPlace_.reset();
    fileManager_.syncDirectory(file_.parent_path());
    log_(fmt::format(
        "{} set aside: {} as={} reason={}", file_.stem().string(), file_.filename().string(),
        aside.filename().string(), damage));
    return {};
}

std::optional<std::string> JsonDefaultsStore::string(const std::string& key) const {
    return memberOf<std::string>(*members_, key);
}

std::optional<bool> JsonDefaultsStore::boolean(const std::string& key) const {
    return memberOf<bool>(*members_, key);
}

std::optional<std::vector<std::string>>
JsonDefaultsStore::stringArray(const std::string& key) const {
    const auto elements = memberOf<Json::array_t>(*members_, key);
    if (!elements) {
        return std::nullopt;
    }
    std::vector<std::string> strings;
    strings.reserve(elements->size());
    for (const Json& element : *elements) {
        auto text = valueOf<std::string>(element);
        if (!text) {
            return std::nullopt;
        }
        strings.push_back(*std::move(text));
    }
    return strings;
}

void JsonDefaultsStore::setString(const std::string& key, const std::string& value) {
    (*members_)[key] = value;
    write();
}

void JsonDefaultsStore::setBoolean(const std::string& key, bool value) {
    (*members_)[key] = value;
    write();
}

void JsonDefaultsStore::setStringArray(
    const std::string& key, const std::vector<std::string>& value) {
    (*members_)[key] = value;
    write();
}

void JsonDefaultsStore::remove(const std::string& key) {
    members_->erase(key);
    write();
}

void JsonDefaultsStore::write() {
    const auto written = tryToWrite();
    if (!written && !writeFailureLogged_) {
        log_(fmt::format(
            "{} not saved: {} reason={}", file_.stem().string(), file_.filename().string(),
            written.error()));
    }
    writeFailureLogged_ = !written;
}

Expected<void, JsonDefaultsStore::Reason> JsonDefaultsStore::tryToWrite() {
    if (damageInPlace_) {
        if (auto moved = setAside(Reason{*damageInPlace_}); !moved) {
            return moved;
        }
    }
    constexpr int indentation = 4;
    const std::string text =
        members_->dump(indentation, ' ', false, Json::error_handler_t::replace) + '\n';
    if (text.size() > static_cast<std::size_t>(maxFileBytes)) {
        return unexpected{Reason{"too large"}};
    }
    if (const auto created = fileManager_.createDirectory(file_.parent_path()); !created) {
        return unexpected{created.error().code.message()};
    }
    if (const auto written = AtomicFile::write(fileManager_, file_, text); !written) {
        return unexpected{written.error().code.message()};
    }
    return {};
}

} // namespace brindle
