#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <utility>

namespace brindle {

namespace {

using Json = nlohmann::json;
using Reason = SidecarDecodingError::Reason;

// --- Writing ---

std::string literal(std::string_view text) {
    constexpr bool escapeBeyondAscii = false;
    return Json(text).dump(-1, ' ', escapeBeyondAscii, Json::error_handler_t::replace);
}

std::string literal(bool value) {
    return value ? "true" : "false";
}

/// An object or array, one item per line; `level` is how deep it lies itself.
std::string
enclosed(char opening, const std::vector<std::string>& items, char closing, std::size_t level) {
    const std::string outer(2 * level, ' ');
    const std::string inner(2 * (level + 1), ' ');
    std::string lines;
    for (const std::string& item : items) {
        lines += lines.empty() ? "" : ",\n";
        lines += inner;
        lines += item;
    }
    return fmt::format("{}\n{}\n{}{}", opening, lines, outer, closing);
}

std::string member(std::string_view key, std::string_view value) {
    return fmt::format("{} : {}", literal(key), value);
}

std::string array(const std::vector<std::string>& strings, std::size_t level) {
    std::vector<std::string> items;
    items.reserve(strings.size());
    for (const std::string& string : strings) {
        items.push_back(literal(string));
    }
    return enclosed('[', items, ']', level);
}

std::string object(const CallSource& source, std::size_t level) {
    std::vector<std::string> members{
        member("app", literal(source.app)),
        member("bundleID", literal(source.bundleID)),
        member("kind", literal(CallSource::rawValue(source.kind))),
    };
    if (source.site) {
        members.push_back(member("site", literal(*source.site)));
    }
    return enclosed('{', members, '}', level);
}

// --- Reading ---

// A sidecar is three levels deep. What lies deeper than this belongs to keys that nobody knows.
constexpr int deepestLevelKept = 8;

SidecarDecodingError notJson(std::string_view detail) {
    return {Reason::notJson, fmt::format("Not valid JSON: {}.", detail)};
}

Expected<Json, SidecarDecodingError> parse(std::string_view text) {
    if (text.empty()) {
        return unexpected{notJson("the text is empty")};
    }
    // Two things that the parser would let pass: it skips a byte order mark and stops at a zero.
    if (text.starts_with("\xEF\xBB\xBF")) {
        return unexpected{notJson("it begins with a byte order mark")};
    }
    if (const auto zero = text.find('\0'); zero != std::string_view::npos) {
        return unexpected{notJson(fmt::format("byte {} is zero", zero + 1))};
    }
    const auto isShallow = [](int level, Json::parse_event_t, const Json&) {
        return level <= deepestLevelKept;
    };
    try {
        return Json::parse(text, isShallow);
    } catch (const Json::parse_error& error) {
        return unexpected{notJson(fmt::format("it makes no sense from byte {} on", error.byte))};
    } catch (const Json::exception&) {
        return unexpected{notJson("a number is too large")};
    }
}

/// Reads the values of one object. The first error is kept, and from then on what is read means
/// nothing.
class ObjectReader {
  public:
    ObjectReader(
        const Json& object, std::string pathPrefix, std::optional<SidecarDecodingError>& error)
        : object_{object}, pathPrefix_{std::move(pathPrefix)}, error_{error} {}

    std::string string(const std::string& key) {
        const Json* value = required(key, Json::value_t::string);
        return value == nullptr ? std::string{} : value->get<std::string>();
    }

    std::optional<std::string> optionalString(const std::string& key) {
        const Json* value = optional(key, Json::value_t::string);
        return value == nullptr ? std::nullopt : std::optional{value->get<std::string>()};
    }

    bool boolean(const std::string& key) {
        const Json* value = required(key, Json::value_t::boolean);
        return value != nullptr && value->get<bool>();
    }

    Date date(const std::string& key) {
        const Json* value = required(key, Json::value_t::string);
        return value == nullptr ? Date{} : dateIn(*value);
    }

    std::optional<Date> optionalDate(const std::string& key) {
        const Json* value = optional(key, Json::value_t::string);
        return value == nullptr ? std::nullopt : std::optional{dateIn(*value)};
    }

    std::vector<std::string> strings(const std::string& key) {
        std::vector<std::string> found;
        if (const Json* list = required(key, Json::value_t::array)) {
            found.reserve(list->size());
            for (const Json& item : *list) {
                if (!isOfType(
                        fmt::format("{}[{}]", key, found.size()), item, Json::value_t::string)) {
                    break;
                }
                found.push_back(item.get<std::string>());
            }
        }
        return found;
    }

    std::optional<CallSource> optionalSource(const std::string& key) {
        const Json* value = optional(key, Json::value_t::object);
        if (value == nullptr) {
            return std::nullopt;
        }
        ObjectReader reader{*value, pathPrefix_ + key + '.', error_};
        CallSource source{
            .app = reader.string("app"),
            .bundleID = reader.string("bundleID"),
            .kind = reader.kind("kind"),
            .site = reader.optionalString("site"),
            .familyID = {}};
        source.familyID = source.bundleID;
        return source;
    }

  private:
    CallSource::Kind kind(const std::string& key) {
        const auto kind = CallSource::kindFromRawValue(string(key));
        if (!kind) {
            fail(
                Reason::badValue,
                fmt::format("\"{}{}\" names no kind of source.", pathPrefix_, key));
        }
        return kind.value_or(CallSource::Kind::other);
    }

    Date dateIn(const Json& value) {
        const auto& text = value.get_ref<const std::string&>();
        const auto date = InternetDateTime::parse(text);
        if (!date) {
            fail(Reason::badValue, "Not an ISO8601 internet date-time: " + text);
        }
        return date.value_or(Date{});
    }

    const Json* required(const std::string& key, Json::value_t type) {
        const auto found = object_.find(key);
        if (found == object_.end()) {
            fail(Reason::missingKey, fmt::format("\"{}{}\" is missing.", pathPrefix_, key));
            return nullptr;
        }
        return isOfType(key, *found, type) ? &*found : nullptr;
    }

    const Json* optional(const std::string& key, Json::value_t type) {
        const auto found = object_.find(key);
        if (found == object_.end() || found->is_null()) {
            return nullptr;
        }
        return isOfType(key, *found, type) ? &*found : nullptr;
    }

    bool isOfType(const std::string& key, const Json& value, Json::value_t type) {
        if (value.type() == type) {
            return true;
        }
        fail(
            Reason::wrongType, fmt::format(
                                   "\"{}{}\" is of type {}, not {}.", pathPrefix_, key,
                                   value.type_name(), Json(type).type_name()));
        return false;
    }

    void fail(Reason reason, std::string message) {
        if (!error_) {
            error_ = SidecarDecodingError{reason, std::move(message)};
        }
    }

    const Json& object_;
    std::string pathPrefix_;
    std::optional<SidecarDecodingError>& error_;
};

} // namespace

std::string SidecarCoding::encode(const Sidecar& sidecar, const TimeZone& timeZone) {
    const auto date = [&](Date moment) {
        return literal(InternetDateTime::format(moment, timeZone));
    };
    std::vector<std::string> members{
        member("roomCode", literal(sidecar.roomCode)),
        member("startedAt", date(sidecar.startedAt)),
        member("endedAt", sidecar.endedAt ? date(*sidecar.endedAt) : "null"),
        member("videoDevice", literal(sidecar.videoDevice)),
        member("audioDevice", literal(sidecar.audioDevice)),
        member("fallbackUsed", literal(sidecar.fallbackUsed)),
        member("interrupted", literal(sidecar.interrupted)),
        member("notes", array(sidecar.notes, 1)),
    };
    if (sidecar.source) {
        members.push_back(member("source", object(*sidecar.source, 1)));
    }
    if (sidecar.callName) {
        members.push_back(member("callName", literal(*sidecar.callName)));
    }
    return enclosed('{', members, '}', 0);
}

Expected<Sidecar, SidecarDecodingError> SidecarCoding::decode(std::string_view text) {
    const auto document = parse(text);
    if (!document) {
        return unexpected{document.error()};
    }
    if (!document->is_object()) {
        return unexpected{SidecarDecodingError{
            Reason::wrongType,
            fmt::format("The whole is of type {}, not object.", document->type_name())}};
    }
    std::optional<SidecarDecodingError> error;
    ObjectReader reader{*document, "", error};
    Sidecar sidecar{
        .roomCode = reader.string("roomCode"),
        .startedAt = reader.date("startedAt"),
        .endedAt = reader.optionalDate("endedAt"),
        .videoDevice = reader.string("videoDevice"),
        .audioDevice = reader.string("audioDevice"),
        .fallbackUsed = reader.boolean("fallbackUsed"),
        .interrupted = reader.boolean("interrupted"),
        .notes = reader.strings("notes"),
        .source = reader.optionalSource("source"),
        .callName = reader.optionalString("callName")};
    if (error) {
        return unexpected{std::move(*error)};
    }
    return sidecar;
}

} // namespace brindle
