#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"

#include <nlohmann/json.hpp>

#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <utility>

namespace brindle::capture {

namespace {

using nlohmann::json;

// However they are spelt, the largest message made of these fits.
/// Names of devices are shorter, and so are the errors of libraries.
constexpr std::size_t longestText = 1024;
constexpr std::size_t longestDetail = 256;
constexpr std::size_t mostDetails = 8;

/// Names of devices need not be UTF-8, which JSON is, and are compared byte by byte: each byte
/// becomes the character of its number.
std::string written(std::string_view text, std::size_t longest = longestText) {
    constexpr unsigned char firstWide = 0x80;
    constexpr int lowBits = 6;
    std::string spelt;
    for (const char character : text.substr(0, longest)) {
        const auto byte = static_cast<unsigned char>(character);
        if (byte < firstWide) {
            spelt.push_back(character);
        } else {
            spelt.push_back(static_cast<char>(0xC0U | (byte >> lowBits)));
            spelt.push_back(static_cast<char>(firstWide | (byte & 0x3FU)));
        }
    }
    return spelt;
}

/// Nothing when that was not written by `written` with the same limit.
std::optional<std::string> unwritten(std::string_view spelt, std::size_t longest = longestText) {
    constexpr unsigned char firstWide = 0x80;
    constexpr int lowBits = 6;
    std::string text;
    for (std::size_t index = 0; index < spelt.size(); ++index) {
        const auto byte = static_cast<unsigned char>(spelt[index]);
        if (byte < firstWide) {
            text.push_back(spelt[index]);
            continue;
        }
        // What JSON takes is whole.
        const bool isOneByte = byte == 0xC2 || byte == 0xC3;
        if (!isOneByte || ++index == spelt.size()) {
            return std::nullopt;
        }
        const auto low = static_cast<unsigned char>(spelt[index]) & 0x3FU;
        text.push_back(static_cast<char>(((byte & 3U) << lowBits) | low));
    }
    if (text.size() > longest) {
        return std::nullopt;
    }
    return text;
}

// One spelling of each part. Reading fails by leaving `isGood` false.

class Reader {
  public:
    explicit Reader(const json& object) : object_{object} {}

    [[nodiscard]] bool isGood() const { return isGood_; }

    std::string text(const char* key) {
        const json* const value = find(key);
        if (value == nullptr || !value->is_string()) {
            return fail<std::string>();
        }
        const auto text = unwritten(value->get_ref<const std::string&>());
        return text ? *text : fail<std::string>();
    }

    bool flag(const char* key) {
        const json* const value = find(key);
        return value != nullptr && value->is_boolean() ? value->get<bool>() : fail<bool>();
    }

    std::int64_t number(const char* key) {
        const json* const value = find(key);
        if (value == nullptr || !value->is_number_integer() ||
            (value->is_number_unsigned() &&
             value->get<std::uint64_t>() >
                 static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max()))) {
            return fail<std::int64_t>();
        }
        return value->get<std::int64_t>();
    }

    int smallNumber(const char* key) {
        const std::int64_t value = number(key);
        constexpr std::int64_t largest = 1'000'000;
        return value >= 0 && value <= largest ? static_cast<int>(value) : fail<int>();
    }

    /// At most a gigabyte.
    std::size_t byteCount(const char* key) {
        const std::int64_t value = number(key);
        constexpr std::int64_t largest = std::int64_t{1} << 30;
        return value >= 0 && value <= largest ? static_cast<std::size_t>(value)
                                              : fail<std::size_t>();
    }

    /// Finite, and not less than zero.
    double amount(const char* key) {
        const json* const value = find(key);
        if (value == nullptr || !value->is_number()) {
            return fail<double>();
        }
        const auto amount = value->get<double>();
        return std::isfinite(amount) && amount >= 0 ? amount : fail<double>();
    }

    /// What is absent or null is no part.
    template <class Part, class Read>
    std::optional<Part> optional(const char* key, Read read) {
        const auto found = object_.find(key);
        if (found == object_.end() || found->is_null()) {
            return std::nullopt;
        }
        return part<Part>(key, read);
    }

    template <class Part, class Read>
    Part part(const char* key, Read read) {
        const json* const value = find(key);
        if (value == nullptr || !value->is_object()) {
            return fail<Part>();
        }
        Reader inner{*value};
        Part part = read(inner);
        isGood_ = isGood_ && inner.isGood();
        return part;
    }

    std::optional<std::string> optionalText(const char* key) {
        return object_.contains(key) ? std::optional{text(key)} : std::nullopt;
    }

    std::map<std::string, std::string> details(const char* key) {
        const json* const value = find(key);
        std::map<std::string, std::string> result;
        if (value == nullptr || !value->is_object() || value->size() > mostDetails) {
            return fail<std::map<std::string, std::string>>();
        }
        for (const auto& [spelt, detail] : value->items()) {
            const auto name = unwritten(spelt, longestDetail);
            const auto text = detail.is_string()
                                  ? unwritten(detail.get_ref<const std::string&>(), longestDetail)
                                  : std::nullopt;
            if (!name || !text) {
                return fail<std::map<std::string, std::string>>();
            }
            result[*name] = *text;
        }
        return result;
    }

  private:
    [[nodiscard]] const json* find(const char* key) const {
        const auto found = object_.find(key);
        return found == object_.end() ? nullptr : &*found;
    }

    template <class Value>
    Value fail() {
        isGood_ = false;
        return {};
    }

    const json& object_;
    bool isGood_ = true;
};

json written(const PlatformError& error) {
    json details = json::object();
    for (const auto& [name, detail] : error.userInfo) {
        if (details.size() < mostDetails) {
            details[written(name, longestDetail)] = written(detail, longestDetail);
        }
    }
    json object{
        {"domain", written(error.domain)},
        {"code", error.code},
        {"description", written(error.description)},
        {"finished", error.recordingSuccessfullyFinished},
        {"details", std::move(details)}};
    if (error.underlying) {
        object["underlying"] = {
            {"domain", written(error.underlying->domain)}, {"code", error.underlying->code}};
    }
    return object;
}

json written(const VideoOutputSettings& video) {
    return {
        {"width", video.width},
        {"height", video.height},
        {"bitRate", video.averageBitRate},
        {"frameRate", video.expectedSourceFrameRate},
        {"keyFrames", video.maxKeyFrameInterval},
        {"mostWaitingBytes", video.mostWaitingBytes}};
}

json written(const AudioOutputSettings& audio) {
    return {
        {"channels", audio.numberOfChannels},
        {"sampleRate", audio.sampleRate},
        {"bitRate", audio.bitRate},
        {"mostWaitingBytes", audio.mostWaitingBytes}};
}

template <class Part>
void put(json& object, const char* key, const std::optional<Part>& part) {
    if (part) {
        object[key] = written(*part);
    }
}

void put(json& object, const char* key, const std::optional<std::string>& text) {
    if (text) {
        object[key] = written(*text);
    }
}

PlatformError readError(Reader& reader) {
    return {
        .domain = reader.text("domain"),
        .code = reader.number("code"),
        .description = reader.text("description"),
        .underlying = reader.optional<PlatformError::Underlying>(
            "underlying",
            [](Reader& inner) {
                return PlatformError::Underlying{
                    .domain = inner.text("domain"), .code = inner.number("code")};
            }),
        .recordingSuccessfullyFinished = reader.flag("finished"),
        .userInfo = reader.details("details")};
}

VideoOutputSettings readVideo(Reader& reader) {
    return {
        .width = reader.smallNumber("width"),
        .height = reader.smallNumber("height"),
        .averageBitRate = reader.number("bitRate"),
        .expectedSourceFrameRate = reader.smallNumber("frameRate"),
        .maxKeyFrameInterval = reader.smallNumber("keyFrames"),
        .mostWaitingBytes = reader.byteCount("mostWaitingBytes")};
}

AudioOutputSettings readAudio(Reader& reader) {
    return {
        .numberOfChannels = reader.smallNumber("channels"),
        .sampleRate = reader.smallNumber("sampleRate"),
        .bitRate = reader.number("bitRate"),
        .mostWaitingBytes = reader.byteCount("mostWaitingBytes")};
}

/// The spelling of one kind of message: its name, how it is written and how it is read.
template <class Kind>
struct Spelling;

template <>
struct Spelling<Hello> {
    static constexpr const char* name = "hello";
    static void write(json& object, const Hello& message) {
        object["protocol"] = message.protocol;
        object["version"] = written(message.version);
        object["confined"] = message.isConfined;
    }
    static Hello read(Reader& reader) {
        return {
            .protocol = reader.number("protocol"),
            .version = reader.text("version"),
            .isConfined = reader.flag("confined")};
    }
};

template <>
struct Spelling<Beat> {
    static constexpr const char* name = "beat";
    static void write(json& object, const Beat& message) {
        object["recorded"] = message.recorded.count();
        object["converted"] = message.converted;
    }
    static Beat read(Reader& reader) {
        return {
            .recorded = Seconds{reader.amount("recorded")},
            .converted = reader.amount("converted")};
    }
};

template <>
struct Spelling<OpenDevices> {
    static constexpr const char* name = "open";
    static void write(json& object, const OpenDevices& message) {
        put(object, "camera", message.camera);
        put(object, "microphone", message.microphone);
        object["video"] = written(message.video);
        object["audio"] = written(message.audio);
    }
    static OpenDevices read(Reader& reader) {
        return {
            .camera = reader.optionalText("camera"),
            .microphone = reader.optionalText("microphone"),
            .video = reader.part<VideoOutputSettings>("video", readVideo),
            .audio = reader.part<AudioOutputSettings>("audio", readAudio)};
    }
};

template <>
struct Spelling<BeginMovie> {
    static constexpr const char* name = "begin";
    static void write(json& object, const BeginMovie& message) {
        put(object, "video", message.video);
        put(object, "audio", message.audio);
        object["fragments"] = message.fragmentInterval.count();
    }
    static BeginMovie read(Reader& reader) {
        return {
            .video = reader.optional<VideoOutputSettings>("video", readVideo),
            .audio = reader.optional<AudioOutputSettings>("audio", readAudio),
            .fragmentInterval = Seconds{reader.amount("fragments")}};
    }
};

/// Of messages that say all by their name.
template <class Kind>
struct BareSpelling {
    static void write(json& /*object*/, const Kind& /*message*/) {}
    static Kind read(Reader& /*reader*/) { return {}; }
};

template <>
struct Spelling<FinishMovie> : BareSpelling<FinishMovie> {
    static constexpr const char* name = "finish";
};

template <>
struct Spelling<Convert> : BareSpelling<Convert> {
    static constexpr const char* name = "convert";
};

template <>
struct Spelling<Measure> : BareSpelling<Measure> {
    static constexpr const char* name = "measure";
};

template <>
struct Spelling<Cancel> : BareSpelling<Cancel> {
    static constexpr const char* name = "cancel";
};

template <>
struct Spelling<Opened> {
    static constexpr const char* name = "opened";
    static void write(json& object, const Opened& message) { put(object, "error", message.error); }
    static Opened read(Reader& reader) {
        return {.error = reader.optional<PlatformError>("error", readError)};
    }
};

template <>
struct Spelling<CaptureFailed> {
    static constexpr const char* name = "failed";
    static void write(json& object, const CaptureFailed& message) {
        object["error"] = written(message.error);
    }
    static CaptureFailed read(Reader& reader) {
        return {.error = reader.part<PlatformError>("error", readError)};
    }
};

template <>
struct Spelling<MovieFinished> {
    static constexpr const char* name = "finished";
    static void write(json& object, const MovieFinished& message) {
        put(object, "error", message.error);
        object["recorded"] = message.recorded.count();
    }
    static MovieFinished read(Reader& reader) {
        return {
            .error = reader.optional<PlatformError>("error", readError),
            .recorded = Seconds{reader.amount("recorded")}};
    }
};

template <>
struct Spelling<PicturesDropped> {
    static constexpr const char* name = "dropped";
    static void write(json& object, const PicturesDropped& message) {
        object["count"] = message.count;
    }
    static PicturesDropped read(Reader& reader) { return {.count = reader.number("count")}; }
};

template <>
struct Spelling<Converted> {
    static constexpr const char* name = "converted";
    static void write(json& object, const Converted& message) {
        put(object, "error", message.error);
        object["damaged"] = message.damagedBytes;
    }
    static Converted read(Reader& reader) {
        return {
            .error = reader.optional<PlatformError>("error", readError),
            .damagedBytes = reader.number("damaged")};
    }
};

template <>
struct Spelling<Measured> {
    static constexpr const char* name = "measured";
    static void write(json& object, const Measured& message) {
        if (message.duration) {
            object["duration"] = message.duration->count();
        }
    }
    static Measured read(Reader& reader, const json& object) {
        return {
            .duration = object.contains("duration")
                            ? std::optional{Seconds{reader.amount("duration")}}
                            : std::nullopt};
    }
};

/// Nothing when that is another kind of message; else the message, or what is wrong with it.
template <class Kind>
std::optional<Expected<Message, std::string>> readAs(const std::string& name, const json& object) {
    if (name != Spelling<Kind>::name) {
        return std::nullopt;
    }
    Reader reader{object};
    Kind kind{};
    if constexpr (requires { Spelling<Kind>::read(reader, object); }) {
        kind = Spelling<Kind>::read(reader, object);
    } else {
        kind = Spelling<Kind>::read(reader);
    }
    if (!reader.isGood()) {
        return unexpected{"a message \"" + name + "\" lacks a part"};
    }
    return Message{std::move(kind)};
}

template <class... Kinds>
Expected<Message, std::string>
readAsOneOf(const std::string& name, const json& object, const std::variant<Kinds...>* /*all*/) {
    std::optional<Expected<Message, std::string>> result;
    static_cast<void>((... || (result = readAs<Kinds>(name, object)).has_value()));
    return result ? *result : unexpected{std::string{"a message of an unknown kind"}};
}

} // namespace

std::string encode(const Message& message) {
    json object = json::object();
    std::visit(
        [&object]<class Kind>(const Kind& kind) {
            object["is"] = Spelling<Kind>::name;
            Spelling<Kind>::write(object, kind);
        },
        message);
    return object.dump();
}

Expected<Message, std::string> decode(std::string_view bytes) {
    constexpr bool throws = false;
    const json object = json::parse(bytes, nullptr, throws);
    if (object.is_discarded() || !object.is_object()) {
        return unexpected{std::string{"a message that cannot be read"}};
    }
    const auto name = object.find("is");
    if (name == object.end() || !name->is_string()) {
        return unexpected{std::string{"a message without a name"}};
    }
    return readAsOneOf(
        name->get_ref<const std::string&>(), object, static_cast<const Message*>(nullptr));
}

} // namespace brindle::capture
