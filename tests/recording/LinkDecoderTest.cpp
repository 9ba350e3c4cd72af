#include <cmath>
#include <limits>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "recording/decoding/JsonSchemas.h"
#include "recording/decoding/LinkDecoder.h"
#include "recording/decoding/ViewerMessages.h"
#include "tests/recording/MemorySink.h"

using Json = nlohmann::ordered_json;

namespace {

std::string Packed(const Json& message)
{
    const std::vector<std::uint8_t> bytes = Json::to_msgpack(message);
    return {bytes.begin(), bytes.end()};
}

/// Whether a value keeps to a schema, as far as ours go.
bool Fits(const Json& value, const Json& schema)
{
    const auto isOf = [&value](const std::string& type) {
        return (type == "object" && value.is_object()) || (type == "array" && value.is_array()) ||
               (type == "number" && value.is_number()) || (type == "null" && value.is_null()) ||
               (type == "integer" && value.is_number_integer()) ||
               (type == "string" && value.is_string()) || (type == "boolean" && value.is_boolean());
    };
    if (schema.contains("type")) {
        const Json types =
            schema["type"].is_array() ? schema["type"] : Json::array({schema["type"]});
        bool isFine = false;
        for (const Json& type : types) {
            isFine = isFine || isOf(type.get<std::string>());
        }
        if (!isFine) {
            return false;
        }
    }
    for (const Json& key : schema.value("required", Json::array())) {
        if (!value.contains(key.get<std::string>())) {
            return false;
        }
    }
    const Json properties = schema.value("properties", Json::object());
    for (const auto& [key, form] : properties.items()) {
        if (value.contains(key) && !Fits(value[key], form)) {
            return false;
        }
    }
    if (schema.contains("items")) {
        for (const Json& element : value) {
            if (!Fits(element, schema["items"])) {
                return false;
            }
        }
    }
    return true;
}

/// A recording of what links said, decoded.
class CDecoding
{
public:
    CDecoding() { m_writer.Begin("", ""); }

    void Open(std::uint16_t link, std::uint64_t client) { m_items.Open(link, client); }

    void Say(ELinkDirection direction, const std::string& bytes, std::uint16_t link = 1)
    {
        m_items.Add(++m_time, link, direction, bytes);
        CRecordedItem item;
        while (m_items.Next(item)) {
            m_decoder.Add(item);
        }
    }
    void Ask(const Json& message) { Say(ELinkDirection::ToService, Packed(message)); }
    void Answer(const Json& message) { Say(ELinkDirection::ToApplication, Packed(message)); }

    /// The messages by their topics; each keeps to the schema of its channel.
    std::map<std::string, std::vector<Json>> Finish()
    {
        m_decoder.Finish();
        m_writer.Finish();
        std::map<std::string, std::vector<Json>> found;
        CMcapBytes source(m_sink.bytes);
        CMcapReader reader(source);
        while (reader.Next() == EMcapStep::Record) {
            if (reader.Kind() != EMcapRecord::Message) {
                continue;
            }
            const CMcapMessage& message = reader.Message();
            const CMcapChannel& channel = reader.Channels().at(message.channelId);
            const CMcapSchema& schema = reader.Schemas().at(channel.schemaId);
            const Json value = Json::parse(message.data.begin(), message.data.end());
            EXPECT_TRUE(Fits(value, Json::parse(schema.data))) << schema.name << ": " << value;
            EXPECT_TRUE(Json::parse(schema.data).contains("properties")) << schema.name;
            EXPECT_FALSE(Fits(Json::object(), Json::parse(schema.data))) << schema.name;
            found[channel.topic].push_back(value);
        }
        return found;
    }

private:
    CMemorySink m_sink;
    CMcapWriter m_writer{m_sink};
    CLinkItems m_items;
    CLinkDecoder m_decoder{m_writer};
    std::uint64_t m_time = 0;
};

} // namespace

TEST(LinkDecoder, WritesARequestWithItsReplyWhateverComesBetween)
{
    CDecoding decoding;
    decoding.Open(1, 7);
    decoding.Ask({0, 1, "SetImplementWidth", {1, 4.5}});
    decoding.Ask({0, 2, "GetImplementWidth", {1}});
    decoding.Answer({2, "cb_offsets", {0.25}});
    decoding.Answer({1, 2, nullptr, 4.5});
    decoding.Answer({1, 1, "no", nullptr});
    decoding.Ask({2, "subscribe", {"cb_offsets"}});
    decoding.Ask({0, 3, "EngageSteering", Json::array()});
    auto found = decoding.Finish();
    const Json asked{{"client", 7}, {"arguments", {1}}, {"reply", 4.5}, {"seconds", 2e-9}};
    EXPECT_EQ(asked, found["/operations/GetImplementWidth"].at(0));
    EXPECT_EQ("no", found["/operations/SetImplementWidth"].at(0)["error"]);
    EXPECT_EQ(Json({{"client", 7}, {"arguments", {"cb_offsets"}}}),
              found["/operations/subscribe"].at(0));
    EXPECT_EQ(Json({{"client", 7}, {"payload", {0.25}}}), found["/events/cb_offsets"].at(0));
    // Nobody has answered it.
    EXPECT_EQ(Json({{"client", 7}, {"arguments", Json::array()}}),
              found["/operations/EngageSteering"].at(0));
}

TEST(LinkDecoder, DecodesTheSameInWhateverPortionsBytesCome)
{
    const std::string question = Packed({0, 1, "GetImplementWidth", {1}});
    for (std::size_t cut = 0; cut <= question.size(); ++cut) {
        CDecoding decoding;
        decoding.Open(1, 1);
        decoding.Say(ELinkDirection::ToService, question.substr(0, cut));
        decoding.Say(ELinkDirection::ToService, question.substr(cut));
        decoding.Answer({1, 1, nullptr, 4.5});
        EXPECT_EQ(1U, decoding.Finish()["/operations/GetImplementWidth"].size()) << cut;
    }
}

TEST(LinkItems, AreTheSameWhetherValuesAreReadOrNot)
{
    const std::string messages =
        Packed({0, 5, "EngageSteering", {1}}) + Packed({0, 300, std::string(40, 'n'), {1}}) +
        Packed({0, 70'000, std::string(300, 'n'), {1}}) +
        Packed({0, 5'000'000'000, "StopNavigation", {1}}) + Packed({2, "subscribe", {1}}) +
        Packed({1, 1, nullptr, 7}) + "\x94\xcc\x00\x09\xa1q\x90" + // a number in an unusual way
        Packed({0, 1, 2, 3}) + Packed({0, -1, "x", {1}});
    CLinkItems whole;
    CLinkItems none;
    CLinkItems all;
    none.ReadValuesOf([](const CRecordedItem&) { return false; });
    all.ReadValuesOf([](const CRecordedItem&) { return true; });
    CRecordedItem item;
    CRecordedItem without;
    CRecordedItem with;
    int count = 0;
    for (const auto direction : {ELinkDirection::ToService, ELinkDirection::ToApplication}) {
        for (CLinkItems* const items : {&whole, &none, &all}) {
            items->Add(1, 1, direction, messages);
        }
        while (whole.Next(item)) {
            ASSERT_TRUE(none.Next(without) && all.Next(with));
            ++count;
            EXPECT_EQ(item.value, with.value);
            for (const CRecordedItem& other : {without, with}) {
                EXPECT_EQ(item.number, other.number);
                EXPECT_EQ(item.kind, other.kind);
                EXPECT_EQ(item.name, other.name);
                EXPECT_EQ(item.id, other.id);
                EXPECT_EQ(item.bytes, other.bytes);
            }
        }
    }
    EXPECT_EQ(18, count);
}

TEST(LinkItems, ReadNoValueThatIsNotWanted)
{
    CLinkItems items;
    items.ReadValuesOf([](const CRecordedItem& head) { return head.name == "b"; });
    items.Add(1, 1, ELinkDirection::ToService, Packed({0, 1, "a", {1}}) + Packed({0, 2, "b", {2}}));
    items.Add(2, 1, ELinkDirection::ToService, "");
    CRecordedItem item;
    ASSERT_TRUE(items.Next(item));
    EXPECT_TRUE(item.value.is_null());
    ASSERT_TRUE(items.Next(item));
    EXPECT_EQ(Json({2}), item.value);
    items.Add(3, 1, ELinkDirection::ToApplication,
              Packed({1, 1, nullptr, 7}) + Packed({1, 2, nullptr, 8}));
    ASSERT_TRUE(items.Next(item));
    EXPECT_EQ("a", item.name);
    EXPECT_TRUE(item.value.is_null());
    ASSERT_TRUE(items.Next(item));
    EXPECT_EQ("b", item.name);
    EXPECT_EQ(8, item.value);
}

TEST(LinkDecoder, GoesOnBehindWhatIsNoMessage)
{
    CDecoding decoding;
    decoding.Open(1, 1);
    decoding.Ask({0, 1, 2, 3, 4});                                        // too many parts
    decoding.Say(ELinkDirection::ToService, "\x93\x02\xa1x\x81\x01\x02"); // a number as a key
    decoding.Ask({2, "subscribe", {"cb_offsets"}});
    decoding.Say(ELinkDirection::ToService, "\xc1"); // where that ends nobody knows
    decoding.Ask({2, "subscribe", {"cb_speed"}});
    EXPECT_EQ(1U, decoding.Finish()["/operations/subscribe"].size());
}

TEST(LinkDecoder, ForgetsWhatWasUnfinishedWhenALinkIsOpenedAnew)
{
    CDecoding decoding;
    decoding.Open(1, 1);
    decoding.Say(ELinkDirection::ToService, "\x94");
    decoding.Open(1, 2);
    decoding.Ask({2, "subscribe", {"cb_offsets"}});
    EXPECT_EQ(2, decoding.Finish()["/operations/subscribe"].at(0)["client"]);
}

TEST(LinkDecoder, ShowsViewersThePoseTheLineAndThePlace)
{
    CDecoding decoding;
    decoding.Open(1, 1);
    decoding.Answer({2, "cb_relative_position", {3.0, 4.0, 0.0, 1.0}});
    decoding.Answer({2, "cb_relative_position", {std::nan(""), 4.0, 0.0, 1.0}});
    decoding.Answer({2, "cb_draw_points", {0.0, 1.0, 2.0, 3.0, 4.0}});
    decoding.Ask({2, "SetPositionData", {"1=52.5;2=5.25;3=1.5;12=0.5;13=0.5;14=2"}});
    decoding.Ask({2, "SetPositionData", {"nonsense"}});
    auto found = decoding.Finish();
    ASSERT_EQ(1U, found["/viewer/pose"].size());
    const Json& pose = found["/viewer/pose"][0]["pose"];
    EXPECT_EQ(3.0, pose["position"]["x"]);
    // North, which is a quarter of a turn from east.
    EXPECT_NEAR(std::sqrt(0.5), pose["orientation"]["z"].get<double>(), 1e-12);
    EXPECT_EQ(2U, found["/viewer/line"].at(0)["entities"][0]["lines"][0]["points"].size());
    ASSERT_EQ(1U, found["/viewer/location"].size());
    EXPECT_EQ(52.5, found["/viewer/location"][0]["latitude"]);
    EXPECT_EQ(9U, found["/viewer/location"][0]["position_covariance"].size());
    EXPECT_EQ(4.0, found["/viewer/location"][0]["position_covariance"][8]);
}

TEST(LinkDecoder, BoundsWhatWaitsForRepliesAndLosesNoRequest)
{
    CDecoding decoding;
    decoding.Open(1, 1);
    const std::string large(1'000'000, 'x');
    for (int number = 0; number < 40; ++number) {
        decoding.Ask({0, number, "SetNothing", {large}});
    }
    EXPECT_EQ(40U, decoding.Finish()["/operations/SetNothing"].size());
}

TEST(LinkDecoder, DescribesTheMachineAsItIsWritten)
{
    const Json schema = Json::parse(JsonSchemaOf("kestrove.MachineState"));
    EXPECT_EQ("number", schema["properties"]["x_m"]["type"]);
    EXPECT_EQ(schema["properties"].size(), schema["required"].size());
    EXPECT_EQ("object", Json::parse(JsonSchemaOf("another"))["type"]);
}
