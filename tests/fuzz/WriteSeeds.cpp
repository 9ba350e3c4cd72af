// Writes the seeds of the fuzz targets with the library's own encoder: the messages of every
// operation and event, values at the ends of their ranges, and the forms of every kind of wayline.
//
// usage: write_fuzz_seeds DIRECTORY

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "operations/OperationExamples.h"
#include "platform/BElement.h"
#include "platform/BEncoder.h"
#include "wayline/Wayline.h"

namespace {

struct Seed
{
    std::string name;
    std::string bytes;
};

std::string Bytes(const BEncoderC& encoder)
{
    return std::string(encoder.Data(), encoder.Size());
}

/// What is nested too deeply to be written whole is a seed as well.
void WriteAsFarAsItGoes(BEncoderC& encoder, const BElementC& element)
{
    static_cast<void>(encoder.Write(element));
}

std::string Request(std::uint64_t number, const std::string& method, const BListC& arguments)
{
    BEncoderC encoder;
    encoder.WriteListHeader(4);
    encoder.WriteInteger(0);
    encoder.WriteUnsigned(number);
    encoder.WriteString(method.data(), method.size());
    WriteAsFarAsItGoes(encoder, arguments);
    return Bytes(encoder);
}

std::string Notification(const std::string& method, const BListC& arguments)
{
    BEncoderC encoder;
    encoder.WriteListHeader(3);
    encoder.WriteInteger(2);
    encoder.WriteString(method.data(), method.size());
    WriteAsFarAsItGoes(encoder, arguments);
    return Bytes(encoder);
}

std::string Response(std::uint64_t number, const BElementC& result)
{
    BEncoderC encoder;
    encoder.WriteListHeader(4);
    encoder.WriteInteger(1);
    encoder.WriteUnsigned(number);
    encoder.WriteNothing();
    WriteAsFarAsItGoes(encoder, result);
    return Bytes(encoder);
}

/// A list as text gives it: words of digits are ints, words with a point are doubles, `-` is
/// nothing, everything else is a text.
std::unique_ptr<BListC> List(const std::string& words)
{
    auto list = std::make_unique<BListC>(nullptr);
    std::size_t start = 0;
    while (start < words.size()) {
        const std::size_t end = std::min(words.find(' ', start), words.size());
        const std::string word = words.substr(start, end - start);
        if (word == "-") {
            list->AddNothing();
        } else if (word.find_first_not_of("0123456789-") == std::string::npos) {
            list->AddInt64(std::stoll(word));
        } else if (word.find_first_not_of("0123456789-.e") == std::string::npos) {
            list->AddDouble(std::strtod(word.c_str(), nullptr));
        } else {
            list->AddString(word);
        }
        start = end + 1;
    }
    return list;
}

struct Call
{
    std::string name;
    std::string arguments;
};

/// Beside a request of every operation whose arguments are numbers.
const Call kFurtherRequests[] = {
    {"StartNavigation", "1 0"},
    {"set_wayline", "0 0.0 0.0 0.0 0.0 100.0 0.0"},
    {"set_wayline", "1 0.0 0.0 0.0 1.5"},
    {"set_wayline", "2 0.0 0.0 0.0 10.0 0.0 0.0 5.0 5.0 0.0"},
    {"set_wayline", "3 3 0.0 0.0 0.0 1.0 10.0 0.0 0.0 20.0 0.0"},
    {"set_wayline", "4 3 0.0 0.0 0.0 1.0 10.0 0.0 0.0 20.0 0.0"},
    {"set_wayline", "4 -1 0.0 0.0 0.0"},
    {"set_wayline", "4 2147483647 0.0"},
    {"set_wayline", "9"},
    {"set_wayline", ""},
    {"get_wayline", ""},
    {"start_wayline", "4"},
    {"start_wayline", "5"},
    {"start_wayline", "6"},
    {"get_tuning_parameter", "9"},
    {"why_not_engaged", ""},
    {"start_wayline", "-1"},
    {"SetImplementWidth", "1 -1e308"},
    {"SetFieldOffset", "1 text"},
    {"no_such_operation", "- text 1.0"},
};

const Call kFurtherNotifications[] = {
    {"subscribe", "cb_engage_status"},
    {"SetPositionData", "1=51.5;2=-0.25;15=1;21=0.1"},
};

const Call kEvents[] = {
    {"cb_engage_status", "1 0 1 0 1"},
    {"cb_engage_status", "1 0 1 0"},
    {"cb_engage_status", "1 0 1 0 1 1"},
    {"cb_wayline_status", "1 0 1 4"},
    {"cb_wayline_status", "1 0 1 4 0.5"},
    {"cb_wayline_status", "1 0 1 -4 0.5 more"},
    {"cb_guidance_status", "2 0.03 0.01 0.002"},
    {"cb_guidance_status", "- - - -"},
    {"cb_guidance_status", "2 0.03"},
    {"cb_draw_points", "2 1.0 2.0 3.0 4.0"},
    {"cb_draw_points", "2 1.0 2.0 3.0"},
    {"cb_draw_points", "1 text -"},
    {"cb_draw_points", "-1 1.0 2.0"},
    {"cb_draw_points", "-2147483648 1.0 2.0"},
    {"cb_draw_points", "2147483647 1.0 2.0 3.0 4.0"},
    {"cb_draw_points", "2147483647"},
    {"cb_draw_points", "0"},
    {"cb_draw_points", ""},
    {"cb_relative_position", "0.5 1.5 0.1"},
    {"cb_relative_position", "0.5"},
    {"cb_tuning_parameter_changed", "3 50.0"},
    {"cb_tuning_parameter_changed", "2147483648 1e308"},
    {"cb_implement_width_changed", "6.0"},
    {"cb_offsets", "0.25"},
    {"cb_offsets", "text"},
    {"cb_offsets", "-"},
    {"cb_offsets", ""},
    {"cb_offsets", "1e308 2.0"},
    {"cb_of_no_such_name", "1"},
};

const char* const kValues[] = {
    "",
    "-",
    "0 1 127 128 255 256 65535 65536 4294967295 4294967296",
    "-1 -32 -33 -128 -129 -32768 -32769 -2147483648 -2147483649",
    "9223372036854775807 -9223372036854775808",
    "0.5 -0.0 1e308 4.9e-324 -1e-300",
    "a text of words",
};

std::unique_ptr<BListC> Nested(int levels)
{
    auto list = List("1 2.5 inner");
    for (int level = 0; level < levels; ++level) {
        auto outer = std::make_unique<BListC>(nullptr);
        outer->AddInt(level);
        outer->Add(list.release());
        list = std::move(outer);
    }
    return list;
}

std::unique_ptr<BListC> WithDictionary()
{
    auto list = List("7");
    auto dictionary = std::make_unique<BDictionaryC>(nullptr);
    dictionary->Add("key", new BAtomC(1));
    dictionary->Add("", new BAtomC(std::string("value")));
    list->Add(dictionary.release());
    return list;
}

/// The calls of operations of a kind, and further ones.
template <std::size_t Count>
std::vector<Call> Calls(bool areRequests, const Call (&further)[Count])
{
    std::vector<Call> calls;
    for (const OperationExample& each : kOperationExamples) {
        if (each.isRequest == areRequests) {
            std::string words;
            for (const char* letter = each.arguments; *letter != '\0'; ++letter) {
                words += std::strchr("[],", *letter) == nullptr ? std::string(1, *letter) : "";
            }
            calls.push_back({each.name, words});
        }
    }
    calls.insert(calls.end(), std::begin(further), std::end(further));
    return calls;
}

/// Seeds, each with a name that the others do not change.
class CSeeds
{
public:
    void Add(const std::string& name, const std::string& bytes)
    {
        const int number = ++m_numbers[name];
        m_seeds.push_back({number == 1 ? name : name + '-' + std::to_string(number), bytes});
        m_all += bytes;
    }
    const std::string& All() const { return m_all; }
    const std::vector<Seed>& Get() const { return m_seeds; }

private:
    std::vector<Seed> m_seeds;
    std::map<std::string, int> m_numbers;
    std::string m_all;
};

void AddCalls(CSeeds& seeds)
{
    for (const Call& call : Calls(true, kFurtherRequests)) {
        const std::unique_ptr<BListC> arguments = List(call.arguments);
        seeds.Add("request-" + call.name, Request(7, call.name, *arguments));
        // Which a service gets as a notification.
        seeds.Add("misplaced-" + call.name, Notification(call.name, *arguments));
    }
    for (const Call& call : Calls(false, kFurtherNotifications)) {
        seeds.Add("notification-" + call.name, Notification(call.name, *List(call.arguments)));
    }
    for (const Call& call : kEvents) {
        seeds.Add("event-" + call.name, Notification(call.name, *List(call.arguments)));
    }
}

std::vector<Seed> Messages()
{
    CSeeds seeds;
    AddCalls(seeds);
    for (const char* values : kValues) {
        seeds.Add("values", Notification("ev", *List(values)));
        seeds.Add("response", Response(8, *List(values)));
    }
    for (const int levels : {1, 20, 60, 70}) {
        seeds.Add("nested", Notification("ev", *Nested(levels)));
    }
    for (const char* form : {"0 0.0 0.0 0.0 0.0 9.0 0.0", "1 0.0 0.0 0.0 1.5", "4 -1 0.0"}) {
        BListC lines(nullptr);
        lines.Add(List(form).release());
        seeds.Add("request-calculate_headings", Request(3, "calculate_headings", lines));
    }
    seeds.Add("dictionary", Notification("ev", *WithDictionary()));
    seeds.Add("atom", Response(1, BAtomC(42)));
    seeds.Add("atom", Response(2, BAtomC(-0.5)));
    const std::string all = seeds.All();
    seeds.Add("cut", all.substr(0, all.size() / 2 + 3));
    seeds.Add("all", all);
    return seeds.Get();
}

std::vector<Seed> Waylines()
{
    const double inf = std::numeric_limits<double>::infinity();
    const double big = std::numeric_limits<double>::max();
    const std::vector<Core::Maths::Vector3<double>> points{{0, 0, 0}, {1.5, 10, -1}, {0, 20, 1e-9}};
    std::vector<std::unique_ptr<Kestrove::CWayline>> waylines;
    waylines.emplace_back(new Kestrove::CABWayline({0, 0, 0}, {0, 100, 0}));
    waylines.emplace_back(new Kestrove::CABWayline({inf, -inf, std::nan("")}, {big, -big, 0}));
    waylines.emplace_back(new Kestrove::CAHeadingWayline({1, 2, 3}, 0.5));
    waylines.emplace_back(new Kestrove::CCircleWayline({0, 0, 0}, {10, 0, 0}, {5, 5, 0}));
    waylines.emplace_back(new Kestrove::CSplineWayline(points));
    waylines.emplace_back(new Kestrove::CABCurveWayline(points));
    waylines.emplace_back(new Kestrove::CPathWayline);
    waylines.emplace_back(new Kestrove::CReplayWayline);
    waylines.emplace_back(new Kestrove::CEmptyWayline);

    for (const int count : {0, 1, 2, 10, 100}) {
        std::vector<Core::Maths::Vector3<double>> curve;
        for (int place = 0; place < count; ++place) {
            curve.push_back({place * 0.1, place * 1.0, 0.0});
        }
        waylines.emplace_back(new Kestrove::CSplineWayline(curve));
        waylines.emplace_back(new Kestrove::CABCurveWayline(curve));
    }

    std::vector<Seed> seeds;
    int number = 0;
    for (const auto& wayline : waylines) {
        const std::string place = std::to_string(number++);
        const std::unique_ptr<BListC> list(wayline->ToBList());
        seeds.push_back({"text-" + place, wayline->ToString()});
        if (list != nullptr) {
            seeds.push_back({"list-" + place, Notification("set_wayline", *list)});
        }
    }
    int text = 0;
    for (const char* line : {"", " ", "0", "0 1 2 3 4 5", "3 2 1 2 3 4 5 x", "4 -1", "9 1 2", "5 ",
                             "6", "3 999 1 2 3", "1 1,5 2 3 4", "+0 +1 +2 +3 +4 +5 +6"}) {
        seeds.push_back({"line-" + std::to_string(text++), line});
    }
    return seeds;
}

/// What a client of the whole service does, a step at a time; FuzzServer.cpp reads it.
class CSteps
{
public:
    enum EStep : unsigned
    {
        Read,
        EndSending,
        Reset,
        Advance,
        Leave,
        Send,
    };

    CSteps& Do(EStep step, unsigned client = 0)
    {
        m_bytes += static_cast<char>(step * kClients + client);
        return *this;
    }
    /// Sends bytes in portions.
    CSteps& SendInPortions(const std::string& bytes, std::size_t portion, unsigned client = 0)
    {
        for (std::size_t place = 0; place < bytes.size(); place += portion) {
            const std::string piece = bytes.substr(place, portion);
            Do(Send, client);
            m_bytes += static_cast<char>(piece.size() - 1);
            m_bytes += piece;
        }
        return *this;
    }
    const std::string& Bytes() const { return m_bytes; }

private:
    static constexpr unsigned kClients = 4;
    std::string m_bytes;
};

/// Each message as clients of every kind send it.
std::vector<Seed> Sessions()
{
    constexpr std::size_t largestPortion = 256;
    std::vector<Seed> seeds;
    for (const Seed& message : Messages()) {
        if (message.bytes.empty() || message.bytes.size() > 2048) {
            continue;
        }
        const std::string& bytes = message.bytes;
        seeds.push_back({message.name + "-whole",
                         CSteps().SendInPortions(bytes, largestPortion).Do(CSteps::Read).Bytes()});
        seeds.push_back({message.name + "-two", CSteps()
                                                    .SendInPortions(bytes, 7, 0)
                                                    .SendInPortions(bytes, largestPortion, 1)
                                                    .Do(CSteps::Advance)
                                                    .Do(CSteps::EndSending, 1)
                                                    .Do(CSteps::Leave, 0)
                                                    .Bytes()});
        seeds.push_back(
            {message.name + "-cut", CSteps()
                                        .SendInPortions(bytes.substr(0, bytes.size() / 2), 16)
                                        .Do(CSteps::Reset)
                                        .Bytes()});
    }
    return seeds;
}

/// Leaves out a seed that says the same as one before it.
void Write(const std::filesystem::path& directory, const std::vector<Seed>& seeds)
{
    std::filesystem::create_directories(directory);
    std::set<std::string> written;
    for (const Seed& seed : seeds) {
        if (written.insert(seed.bytes).second) {
            std::ofstream(directory / seed.name, std::ios::binary) << seed.bytes;
        }
    }
    std::cout << directory.string() << ": " << written.size() << " seeds\n";
}

} // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        std::cerr << "usage: write_fuzz_seeds DIRECTORY\n";
        return 2;
    }
    const std::filesystem::path directory(arguments[1]);
    Write(directory / "messages", Messages());
    Write(directory / "waylines", Waylines());
    Write(directory / "server", Sessions());
    return 0;
}
