#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <map>
#include <optional>
#include <type_traits>
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

// What each part of a message is called: one list, by which it is written and read. A part that is
// `std::optional` may be absent.

template <class Parts>
void list(Parts& parts, PlatformError::Underlying& error) {
    parts("domain", error.domain);
    parts("code", error.code);
}

template <class Parts>
void list(Parts& parts, PlatformError& error) {
    parts("domain", error.domain);
    parts("code", error.code);
    parts("description", error.description);
    parts("underlying", error.underlying);
    parts("finished", error.recordingSuccessfullyFinished);
    parts("details", error.userInfo);
}

template <class Parts>
void list(Parts& parts, VideoOutputSettings& video) {
    parts("width", video.width);
    parts("height", video.height);
    parts("bitRate", video.averageBitRate);
    parts("frameRate", video.expectedSourceFrameRate);
    parts("keyFrames", video.maxKeyFrameInterval);
    parts("firstPictureWithin", video.firstPictureWithin);
    parts("mostWaitingBytes", video.mostWaitingBytes);
}

template <class Parts>
void list(Parts& parts, AudioOutputSettings& audio) {
    parts("channels", audio.numberOfChannels);
    parts("sampleRate", audio.sampleRate);
    parts("bitRate", audio.bitRate);
    parts("mostWaitingBytes", audio.mostWaitingBytes);
}

template <class Parts>
void list(Parts& parts, Hello& message) {
    parts("protocol", message.protocol);
    parts("version", message.version);
    parts("confined", message.isConfined);
}

template <class Parts>
void list(Parts& parts, Beat& message) {
    parts("recorded", message.recorded);
    parts("converted", message.converted);
}

template <class Parts>
void list(Parts& parts, OpenDevices& message) {
    parts("camera", message.camera);
    parts("microphone", message.microphone);
    parts("video", message.video);
    parts("audio", message.audio);
}

template <class Parts>
void list(Parts& parts, BeginMovie& message) {
    parts("video", message.video);
    parts("audio", message.audio);
    parts("fragments", message.fragmentInterval);
    parts("encoder", message.encoder);
}

template <class Parts>
void list(Parts& /*parts*/, ReleaseCamera& /*message*/) {}

template <class Parts>
void list(Parts& /*parts*/, RetakeCamera& /*message*/) {}

template <class Parts>
void list(Parts& /*parts*/, FinishMovie& /*message*/) {}

template <class Parts>
void list(Parts& parts, Complete& message) {
    parts("asWritten", message.isAsWritten);
}

template <class Parts>
void list(Parts& /*parts*/, Convert& /*message*/) {}

template <class Parts>
void list(Parts& /*parts*/, Measure& /*message*/) {}

template <class Parts>
void list(Parts& parts, TryEncoder& message) {
    parts("encoder", message.encoder);
    parts("video", message.video);
}

template <class Parts>
void list(Parts& /*parts*/, Cancel& /*message*/) {}

template <class Parts>
void list(Parts& parts, Opened& message) {
    parts("error", message.error);
}

template <class Parts>
void list(Parts& parts, CameraAgreed& message) {
    parts("format", message.format);
    parts("width", message.width);
    parts("height", message.height);
    parts("frameRate", message.frameRate);
}

template <class Parts>
void list(Parts& parts, CaptureFailed& message) {
    parts("error", message.error);
}

template <class Parts>
void list(Parts& parts, MovieFinished& message) {
    parts("error", message.error);
    parts("recorded", message.recorded);
    parts("empty", message.isEmpty);
}

template <class Parts>
void list(Parts& parts, PicturesDropped& message) {
    parts("count", message.count);
}

template <class Parts>
void list(Parts& parts, Completed& message) {
    parts("why", message.why);
}

template <class Parts>
void list(Parts& parts, Converted& message) {
    parts("error", message.error);
    parts("damaged", message.damagedBytes);
}

template <class Parts>
void list(Parts& parts, Measured& message) {
    parts("duration", message.duration);
}

template <class Parts>
void list(Parts& parts, EncoderTried& message) {
    parts("error", message.error);
}

/// What the messages themselves are called, in the order of their kinds.
constexpr std::array<std::string_view, std::variant_size_v<Message>> names{
    "hello",    "beat",     "open",    "begin",     "release",   "retake",   "finish",
    "complete", "convert",  "measure", "try",       "cancel",    "opened",   "agreed",
    "failed",   "finished", "dropped", "completed", "converted", "measured", "tried"};

class Writer {
  public:
    explicit Writer(json& object) : object_{object} {}

    template <class Part>
    void operator()(const char* key, std::optional<Part>& part) {
        if (part) {
            (*this)(key, *part);
        }
    }
    template <class Part>
    void operator()(const char* key, Part& part) {
        object_[key] = jsonOf(part);
    }

  private:
    static json jsonOf(std::string& text) { return written(text); }
    static json jsonOf(Seconds& time) { return time.count(); }
    static json jsonOf(std::map<std::string, std::string>& details) {
        json object = json::object();
        for (const auto& [name, detail] : details) {
            if (object.size() < mostDetails) {
                object[written(name, longestDetail)] = written(detail, longestDetail);
            }
        }
        return object;
    }
    template <class Part>
    static json jsonOf(Part& part) {
        if constexpr (std::is_arithmetic_v<Part>) {
            return part;
        } else {
            json object = json::object();
            Writer inner{object};
            list(inner, part);
            return object;
        }
    }

    json& object_;
};

class Reader {
  public:
    explicit Reader(const json& object) : object_{object} {}

    /// Whether all parts were there and made sense.
    [[nodiscard]] bool isGood() const { return isGood_; }

    template <class Part>
    void operator()(const char* key, std::optional<Part>& part) {
        if (object_.contains(key)) {
            Part found{};
            (*this)(key, found);
            part = std::move(found);
        }
    }
    template <class Part>
    void operator()(const char* key, Part& part) {
        const auto found = object_.find(key);
        isGood_ = isGood_ && found != object_.end() && read(*found, part);
    }

  private:
    static bool read(const json& value, std::string& text) {
        const auto read =
            value.is_string() ? unwritten(value.get_ref<const std::string&>()) : std::nullopt;
        text = read.value_or(std::string{});
        return read.has_value();
    }
    static bool read(const json& value, bool& flag) {
        flag = value.is_boolean() && value.get<bool>();
        return value.is_boolean();
    }
    static bool read(const json& value, std::int64_t& number) {
        constexpr auto largest =
            static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        if (!value.is_number_integer() ||
            (value.is_number_unsigned() && value.get<std::uint64_t>() > largest)) {
            return false;
        }
        number = value.get<std::int64_t>();
        return true;
    }
    /// Of pixels, hertz, frames: none is larger.
    static bool read(const json& value, int& number) { return readUpTo(1'000'000, value, number); }
    /// Of bytes: at most a gigabyte.
    static bool read(const json& value, std::size_t& count) {
        return readUpTo(std::int64_t{1} << 30, value, count);
    }
    /// Finite, and not less than zero.
    static bool read(const json& value, double& amount) {
        amount = value.is_number() ? value.get<double>() : -1;
        return std::isfinite(amount) && amount >= 0;
    }
    static bool read(const json& value, Seconds& time) {
        double amount = 0;
        const bool isRead = read(value, amount);
        time = Seconds{amount};
        return isRead;
    }
    static bool read(const json& value, std::map<std::string, std::string>& details) {
        if (!value.is_object() || value.size() > mostDetails) {
            return false;
        }
        for (const auto& [spelt, detail] : value.items()) {
            const auto name = unwritten(spelt, longestDetail);
            const auto text = detail.is_string()
                                  ? unwritten(detail.get_ref<const std::string&>(), longestDetail)
                                  : std::nullopt;
            if (!name || !text) {
                return false;
            }
            details[*name] = *text;
        }
        return true;
    }
    template <class Part>
    static bool read(const json& value, Part& part) {
        if (!value.is_object()) {
            return false;
        }
        Reader inner{value};
        list(inner, part);
        return inner.isGood();
    }
    template <class Number>
    static bool readUpTo(std::int64_t largest, const json& value, Number& number) {
        std::int64_t read = 0;
        if (!Reader::read(value, read) || read < 0 || read > largest) {
            return false;
        }
        number = static_cast<Number>(read);
        return true;
    }

    const json& object_;
    bool isGood_ = true;
};

/// The message of that kind, or what is wrong with it.
template <std::size_t kind>
Expected<Message, std::string> readAs(const json& object) {
    std::variant_alternative_t<kind, Message> message;
    Reader reader{object};
    list(reader, message);
    if (!reader.isGood()) {
        return unexpected{fmt::format("a message \"{}\" lacks a part", names[kind])};
    }
    return Message{std::move(message)};
}

template <std::size_t... kinds>
Expected<Message, std::string>
readAsOneOf(std::string_view name, const json& object, std::index_sequence<kinds...> /*all*/) {
    Expected<Message, std::string> result = unexpected{std::string{"a message of an unknown kind"}};
    static_cast<void>((... || (name == names[kinds] && (result = readAs<kinds>(object), true))));
    return result;
}

} // namespace

std::string encode(const Message& message) {
    json object{{"is", names[message.index()]}};
    Writer writer{object};
    Message copy = message; // one list serves both ways
    std::visit([&writer](auto& kind) { list(writer, kind); }, copy);
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
        name->get_ref<const std::string&>(), object,
        std::make_index_sequence<std::variant_size_v<Message>>{});
}

} // namespace brindle::capture
