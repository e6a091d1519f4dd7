// What counts as a sidecar when one is read, and what is said about everything else.
#include "BrindleRecorderCore/Recordings/SidecarCoding.hpp"

#include "Support/ExampleSidecar.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace brindle {
namespace {

using Json = nlohmann::ordered_json;
using Pointer = Json::json_pointer;
using Reason = SidecarDecodingError::Reason;
using test::exampleSidecar;
using testing::EndsWith;
using testing::HasSubstr;

/// The example as a document that a test can spoil.
Json document() {
    return Json::parse(SidecarCoding::encode(exampleSidecar(), TimeZone::utc()));
}

Json documentWith(const std::string& pointer, const Json& value) {
    Json changed = document();
    changed[Pointer{pointer}] = value;
    return changed;
}

Json documentWithout(const std::string& parent, const std::string& key) {
    Json changed = document();
    changed[Pointer{parent}].erase(key);
    return changed;
}

/// Fails unless the text is refused for that reason.
void expectRefusal(std::string_view text, Reason reason, const std::string& inMessage = "") {
    const auto read = SidecarCoding::decode(text);
    ASSERT_FALSE(read);
    EXPECT_EQ(read.error().reason, reason) << read.error().message;
    EXPECT_THAT(read.error().message, HasSubstr(inMessage));
    EXPECT_THAT(read.error().message, EndsWith("."));
    EXPECT_LT(read.error().message.size(), 200U);
}

TEST(SidecarDecoding, ReadsKeysInAnyOrder) {
    const Json given = document();
    Json reversed = Json::object();
    for (auto it = given.rbegin(); it != given.rend(); ++it) {
        reversed[it.key()] = it.value();
    }
    EXPECT_EQ(SidecarCoding::decode(reversed.dump()), exampleSidecar());
}

TEST(SidecarDecoding, ReadsDocumentsWithoutALineBreakAndWithManyBlanks) {
    EXPECT_EQ(SidecarCoding::decode(document().dump()), exampleSidecar());
    EXPECT_EQ(SidecarCoding::decode("\r\n\t " + document().dump(8) + " \n\n"), exampleSidecar());
}

TEST(SidecarDecoding, IgnoresKeysItDoesNotKnow) {
    Json extended = document();
    extended["version"] = 2;
    extended["RoomCode"] = nullptr;
    extended[""] = Json::array({1, Json::object({{"roomCode", 3}})});
    extended["source"]["familyID"] = "zoom";
    extended["source"]["more"] = Json::array();
    EXPECT_EQ(SidecarCoding::decode(extended.dump()), exampleSidecar());
}

TEST(SidecarDecoding, TakesAMissingEndAndANullEndForNotEnded) {
    Sidecar expected = exampleSidecar();
    expected.endedAt.reset();
    EXPECT_EQ(SidecarCoding::decode(documentWithout("", "endedAt").dump()), expected);
    EXPECT_EQ(SidecarCoding::decode(documentWith("/endedAt", nullptr).dump()), expected);
}

TEST(SidecarDecoding, TakesNullForAnAbsentSourceSiteOrCallName) {
    Sidecar expected = exampleSidecar();
    EXPECT_EQ(SidecarCoding::decode(documentWith("/source/site", nullptr).dump()), expected);
    expected.callName.reset();
    EXPECT_EQ(SidecarCoding::decode(documentWith("/callName", nullptr).dump()), expected);
    EXPECT_EQ(SidecarCoding::decode(documentWithout("", "callName").dump()), expected);
    expected = exampleSidecar();
    expected.source.reset();
    EXPECT_EQ(SidecarCoding::decode(documentWith("/source", nullptr).dump()), expected);
    EXPECT_EQ(SidecarCoding::decode(documentWithout("", "source").dump()), expected);
}

TEST(SidecarDecoding, TellsAnEmptyStringFromAnAbsentOne) {
    const auto read = SidecarCoding::decode(documentWith("/callName", "").dump());
    ASSERT_TRUE(read);
    EXPECT_EQ(read->callName, "");
}

TEST(SidecarDecoding, SetsTheFamilyOfASourceToItsBundle) {
    Sidecar sidecar = exampleSidecar();
    sidecar.source->bundleID = "com.microsoft.teams2";
    sidecar.source->familyID = "teams";
    const auto read = SidecarCoding::decode(SidecarCoding::encode(sidecar, TimeZone::utc()));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->source->familyID, "com.microsoft.teams2");
}

TEST(SidecarDecoding, ReadsDifferentOffsetsAsTheSameInstant) {
    for (const char* text :
         {"2025-03-14T08:30:12Z", "2025-03-14T09:30:12+01:00", "2025-03-14T06:00:12-02:30"}) {
        EXPECT_EQ(SidecarCoding::decode(documentWith("/startedAt", text).dump()), exampleSidecar())
            << text;
    }
}

TEST(SidecarDecoding, RefusesWhatIsNoInternetDateTimeWithThatText) {
    for (const char* key : {"/startedAt", "/endedAt"}) {
        for (const char* text :
             {"2025-03-14 09:30:12", "2025-03-14T09:30:12.500Z", "2025-03-14T09:30:12",
              "2025-03-14", "2025-02-30T09:30:12Z", "2016-12-31T23:59:60Z", "9999-01-01T00:00:00Z",
              "2025-03-14T09:30:12+0100", "1741944612", "", "null", "2025-03-14T09:30:12Z\n"}) {
            const auto read = SidecarCoding::decode(documentWith(key, text).dump());
            ASSERT_FALSE(read) << text;
            EXPECT_EQ(read.error().reason, Reason::badValue);
            EXPECT_EQ(
                read.error().message, std::string{"Not an ISO8601 internet date-time: "} + text);
        }
    }
}

TEST(SidecarDecoding, NeedsEveryRequiredKey) {
    for (const char* key :
         {"roomCode", "startedAt", "videoDevice", "audioDevice", "fallbackUsed", "interrupted",
          "notes"}) {
        SCOPED_TRACE(key);
        expectRefusal(
            documentWithout("", key).dump(), Reason::missingKey,
            '"' + std::string{key} + "\" is missing.");
    }
    for (const char* key : {"app", "bundleID", "kind"}) {
        SCOPED_TRACE(key);
        expectRefusal(
            documentWithout("/source", key).dump(), Reason::missingKey,
            "\"source." + std::string{key} + "\" is missing.");
    }
}

TEST(SidecarDecoding, DoesNotTakeNullForARequiredValue) {
    for (const char* pointer :
         {"/roomCode", "/startedAt", "/videoDevice", "/audioDevice", "/fallbackUsed",
          "/interrupted", "/notes", "/notes/0", "/source/app", "/source/bundleID",
          "/source/kind"}) {
        SCOPED_TRACE(pointer);
        expectRefusal(
            documentWith(pointer, nullptr).dump(), Reason::wrongType, "is of type null, not ");
    }
}

TEST(SidecarDecoding, RefusesValuesOfAnotherType) {
    const Json values[] = {7,
                           -1.5,
                           "text",
                           true,
                           Json::array(),
                           Json::array({1}),
                           Json::object(),
                           Json::object({{"a", 1}})};
    const std::pair<const char*, const char*> keys[] = {
        {"/roomCode", "string"},     {"/startedAt", "string"},   {"/endedAt", "string"},
        {"/videoDevice", "string"},  {"/audioDevice", "string"}, {"/fallbackUsed", "boolean"},
        {"/interrupted", "boolean"}, {"/notes", "array"},        {"/notes/0", "string"},
        {"/source", "object"},       {"/source/app", "string"},  {"/source/bundleID", "string"},
        {"/source/kind", "string"},  {"/source/site", "string"}, {"/callName", "string"}};
    for (const auto& [pointer, type] : keys) {
        for (const Json& value : values) {
            if (value.type_name() == std::string_view{type}) {
                continue;
            }
            SCOPED_TRACE(pointer + (" = " + value.dump()));
            expectRefusal(
                documentWith(pointer, value).dump(), Reason::wrongType,
                std::string{"is of type "} + value.type_name() + ", not " + type + '.');
        }
    }
}

TEST(SidecarDecoding, SaysWhereAWrongValueLies) {
    Json changed = document();
    changed["notes"] = Json::array({"fine", "fine too", 3});
    expectRefusal(changed.dump(), Reason::wrongType, "\"notes[2]\" is of type number, not string.");
    expectRefusal(
        documentWith("/source/site", 1).dump(), Reason::wrongType,
        "\"source.site\" is of type number, not string.");
}

TEST(SidecarDecoding, RefusesAnUnknownKindOfSource) {
    for (const char* kind : {"", "App", "app ", "website", "0"}) {
        SCOPED_TRACE(kind);
        expectRefusal(
            documentWith("/source/kind", kind).dump(), Reason::badValue,
            "\"source.kind\" names no kind of source.");
    }
}

TEST(SidecarDecoding, RefusesAWholeThatIsNoObject) {
    for (const char* text : {"[]", "null", "true", "3.5", "\"roomCode\"", "[{}]"}) {
        SCOPED_TRACE(text);
        expectRefusal(text, Reason::wrongType, ", not object.");
    }
    expectRefusal("{}", Reason::missingKey, "\"roomCode\" is missing.");
}

TEST(SidecarDecoding, RefusesAnEmptyText) {
    expectRefusal("", Reason::notJson, "Not valid JSON: the text is empty.");
    expectRefusal(" \n ", Reason::notJson);
}

TEST(SidecarDecoding, RefusesADocumentCutOffAnywhere) {
    const std::string whole = SidecarCoding::encode(exampleSidecar(), TimeZone::utc());
    for (std::size_t length = 0; length < whole.size(); ++length) {
        SCOPED_TRACE(length);
        expectRefusal(std::string_view{whole}.substr(0, length), Reason::notJson);
    }
}

TEST(SidecarDecoding, RefusesWhatOnlyResemblesJson) {
    const std::string whole = document().dump();
    const std::string inside = whole.substr(1, whole.size() - 2);
    for (const std::string& text : {
             '{' + inside + ",}",         // trailing comma
             "{'a':1," + inside + '}',    // other quotes
             "{a:1," + inside + '}',      // no quotes
             "{/* a */" + inside + '}',   // comment
             "{\"a\":01," + inside + '}', // leading zero
             "{\"a\":NaN," + inside + '}',
             "{\"a\":\"\t\"," + inside + '}',      // control character in a string
             "{\"a\":\"\\ud800\"," + inside + '}', // half a surrogate pair
             whole + whole,
             whole + "]",
             whole + ",",
         }) {
        SCOPED_TRACE(text.substr(0, 20));
        expectRefusal(text, Reason::notJson, "Not valid JSON: it makes no sense from byte ");
    }
}

TEST(SidecarDecoding, RefusesAZeroByteAnywhere) {
    const std::string whole = document().dump();
    expectRefusal(whole + '\0', Reason::notJson, "is zero");
    expectRefusal(whole + '\0' + "rest", Reason::notJson, "is zero");
    expectRefusal('\0' + whole, Reason::notJson, "byte 1 is zero");
    std::string inString = whole;
    inString[inString.find("zoom")] = '\0';
    expectRefusal(inString, Reason::notJson, "is zero");
    expectRefusal(std::string(4'096, '\0'), Reason::notJson, "byte 1 is zero"); // lost power
}

TEST(SidecarDecoding, RefusesAByteOrderMark) {
    expectRefusal(
        "\xEF\xBB\xBF" + document().dump(), Reason::notJson, "it begins with a byte order mark");
    expectRefusal(std::string_view{"\xFF\xFE{\0}\0", 6}, Reason::notJson);
}

TEST(SidecarDecoding, RefusesInvalidUtf8) {
    for (const char* odd :
         {"\xFF", "\x80", "\xC0\xAF", "\xED\xA0\x80", "\xF4\x90\x80\x80", "\xE2\x82", "\xC3"}) {
        std::string text = document().dump();
        text.insert(text.find("zoom"), odd);
        expectRefusal(text, Reason::notJson, "Not valid JSON: it makes no sense from byte ");
    }
}

TEST(SidecarDecoding, RefusesANumberBeyondAllBounds) {
    Json extended = document();
    extended["more"] = "NUMBER";
    std::string text = extended.dump();
    text.replace(text.find("\"NUMBER\""), 8, "1e999");
    expectRefusal(text, Reason::notJson, "Not valid JSON: a number is too large.");
}

TEST(SidecarDecoding, CountsAKeyGivenTwiceTheLastTime) {
    const std::string whole = document().dump();
    Sidecar expected = exampleSidecar();
    EXPECT_EQ(SidecarCoding::decode("{\"roomCode\":7," + whole.substr(1)), expected);
    expected.roomCode = "second";
    EXPECT_EQ(
        SidecarCoding::decode(whole.substr(0, whole.size() - 1) + ",\"roomCode\":\"second\"}"),
        expected);
    expectRefusal(
        whole.substr(0, whole.size() - 1) + ",\"roomCode\":7}", Reason::wrongType, "\"roomCode\"");
}

TEST(SidecarDecoding, EndsWellWithDeepNesting) {
    constexpr std::size_t levels = 100'000;
    const std::string whole = document().dump();
    const auto repeated = [](std::string_view text) {
        std::string result;
        for (std::size_t level = 0; level < levels; ++level) {
            result += text;
        }
        return result;
    };
    const std::string arrays = repeated("[") + repeated("]");
    const std::string objects = repeated("{\"a\":") + "1" + repeated("}");
    // Within a key that nobody knows it is ignored like everything else there.
    for (const std::string& deep : {arrays, objects}) {
        EXPECT_EQ(
            SidecarCoding::decode("{\"more\":" + deep + ',' + whole.substr(1)), exampleSidecar());
        std::string asNotes = whole;
        const std::size_t begin = asNotes.find('[') + 1;
        asNotes.replace(begin, asNotes.find(']') - begin, deep);
        expectRefusal(asNotes, Reason::wrongType, "\"notes[0]\"");
    }
    expectRefusal(arrays, Reason::wrongType, "The whole is of type array, not object.");
    expectRefusal(objects, Reason::missingKey);
    expectRefusal(repeated("["), Reason::notJson);
    expectRefusal(repeated("{\"a\":"), Reason::notJson);
}

} // namespace
} // namespace brindle
