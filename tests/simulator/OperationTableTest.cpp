#include "simulator/operations/OperationTable.h"

#include <algorithm>
#include <new>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "operations/OperationExamples.h"
#include "tests/simulator/Service.h"
#include "tests/simulator/Values.h"

namespace {

/// An operation as it stands on the link.
struct Row
{
    const char* name;
    const char* wants;     ///< the argument types
    const char* arguments; ///< some that fit
    const char* reply;     ///< its shape: the types of the values in it
};

/// What is not numbers alone, or the simulator's own.
const std::vector<Row> kFurtherRows{
    {"why_not_engaged", "[]", "[]", "[text]"},
    {"why_refused", "[text]", "['EngageSteering']", "nil"},
    {"simulator_advance", "[double]", "[0.2]", "double"},
    {"simulator_time", "[]", "[]", "double"},
    {"simulator_fault", "[text, double or text, double]", "['slope', 8.0, 10.0]", "int"},
    {"simulator_faults", "[]", "[]",
     "[list, list, list, list, list, list, list, list, list, list]"},
    {"simulator_describe", "[]", "[]", "text"},
    {"simulator_keeps", "[]", "[]", "int"},
    {"simulator_set_guide", "[text]", "['implement']", "int"},
    {"simulator_guide", "[]", "[]", "text"},
    {"calculate_headings", "[list, ...]", "[[5], [6]]", "[double, double]"},
    {"get_wayline", "[]", "[]", "nil"},
    {"SetPositionData", "[text]",
     "['1=51;2=7;3=0;4=0;5=1;6=0;7=0;8=0;9=0;10=0;11=0;12=0;13=0;14=0;15=1;16=4;17=9;18=1;19=0;"
     "20=1;21=0']",
     "nil"},
};

const std::vector<Row> kRows = [] {
    std::vector<Row> rows = kFurtherRows;
    for (const OperationExample& each : kOperationExamples) {
        rows.push_back({each.name, each.wants, each.arguments, each.reply});
    }
    return rows;
}();

/// The argument list takes any length and is judged by its handler.
const Row kSetWayline{"set_wayline", "a wayline's list form", "[0, 0.0, 0.0, 0.0, 0.0, 100.0, 0.0]",
                      "int"};

std::string Joined(const BListC& list, const std::string& extra)
{
    const std::string text = TextOf(&list);
    return text.substr(0, text.size() - 1) + (list.Size() > 0 ? ", " : "") + extra + "]";
}

std::string ShapeOf(const BElementC* value)
{
    if (value == nullptr) {
        return "nil";
    }
    if (const auto* list = dynamic_cast<const BListC*>(value)) {
        return DescribeTypes(*list);
    }
    switch (value->Type()) {
    case EBElementType::Integer:
        return "int";
    case EBElementType::String:
        return "text";
    default:
        return "double";
    }
}

TEST(ServiceOperations, AreAllInTheTable)
{
    std::vector<std::string> expected{kSetWayline.name};
    for (const Row& row : kRows) {
        expected.emplace_back(row.name);
    }
    std::sort(expected.begin(), expected.end());

    EXPECT_EQ(expected, Service().Core().OperationNames());
}

TEST(ServiceOperations, AnswerInTheirShape)
{
    for (const Row& row : kRows) {
        Service service(0.0);
        const Answer answer = service.Core().Request(row.name, *ListFrom(row.arguments));

        EXPECT_EQ("", answer.error) << row.name;
        EXPECT_EQ(row.reply, ShapeOf(answer.value.get())) << row.name;
    }
}

TEST(ServiceOperations, RefuseOneArgumentMore)
{
    for (const Row& row : kRows) {
        const std::string arguments = Joined(*ListFrom(row.arguments), "nil");
        const std::string given = DescribeTypes(*ListFrom(arguments));

        EXPECT_EQ("error: " + std::string(row.name) + " wants " + row.wants + ", not " + given,
                  Service().Request(row.name, arguments));
    }
}

TEST(ServiceOperations, RefuseArgumentsOfAnotherType)
{
    for (const Row& row : kRows) {
        const std::string name = row.name;
        const int count = name == "calculate_headings" ? 1 : ListFrom(row.arguments)->Size();
        if (count == 0) {
            continue;
        }
        std::string arguments = "[nil";
        for (int index = 1; index < count; ++index) {
            arguments += ", nil";
        }
        arguments += "]";

        const std::string reply = Service().Request(name, arguments);
        EXPECT_EQ(0u, reply.find("error: " + name + " wants " + row.wants)) << reply;
    }
}

TEST(ServiceOperations, LogANotificationThatTheyRefuse)
{
    for (const Row& row : kRows) {
        Service service;
        service.Notify(row.name, Joined(*ListFrom(row.arguments), "'more'"));

        EXPECT_NE(std::string::npos,
                  service.Log().find("notification ignored: " + std::string(row.name) + " wants " +
                                     row.wants))
            << service.Log();
    }
}

TEST(ServiceOperations, TakeAWholeNumberForADouble)
{
    Service service;

    service.Notify("set_lookahead_time", "[2, 0]");

    EXPECT_EQ("2.0", service.Request("get_lookahead_time", "[1]"));
}

TEST(ServiceOperations, TakeNoDoubleForAnInt)
{
    EXPECT_EQ("error: StartNavigation wants [int, int], not [int, double]",
              Service().Request("StartNavigation", "[1, 1.0]"));
}

TEST(ServiceOperations, CountEveryIntButZeroAsTrue)
{
    Service service;

    service.Notify("set_reverse_engage_enabled", "[-2, 0]");

    EXPECT_EQ("1", service.Request("get_reverse_engage_enabled", "[1]"));
}

TEST(ServiceOperations, NameAnOperationThatThereIsNot)
{
    EXPECT_EQ("error: there is no operation \"engage_steering\"",
              Service().Request("engage_steering", "[1]"));
}

TEST(ServiceOperations, RefuseATextThatIsTooLong)
{
    int texts = 0;
    for (const Row& row : kRows) {
        const std::string name = row.name;
        const std::unique_ptr<BListC> arguments = ListFrom(row.arguments);
        for (int index = 0; index < arguments->Size(); ++index) {
            if (arguments->TypeAt(index) != EBElementType::String) {
                continue;
            }
            ++texts;
            const std::string longest(kLongestTextArgument, '1');
            const std::string others = name == "simulator_fault" ? "', 8.0, 10.0]" : "']";
            const std::string reply = Service().Request(name, "['" + longest + others);
            EXPECT_EQ(std::string::npos, reply.find("too long")) << reply;

            const std::string refusal =
                name + ": a text of 4097 bytes is too long, allowed is 4096";
            Service service;
            EXPECT_EQ("error: " + refusal, service.Request(name, "['" + longest + "1" + others));
            service.Forget();
            service.Notify(name, "['" + longest + "1" + others);
            EXPECT_EQ("notification ignored: " + refusal + "\n", service.Log());
        }
    }
    EXPECT_EQ(4, texts);
}

TEST(ServiceOperations, RefuseTooManyLists)
{
    BListC arguments(nullptr);
    for (int number = 0; number < kMostNestedLists; ++number) {
        arguments.Add(new BListC(nullptr));
    }
    const Answer most = Service().Core().Request("calculate_headings", arguments);
    EXPECT_EQ("", most.error);

    arguments.Add(new BListC(nullptr));
    const Answer more = Service().Core().Request("calculate_headings", arguments);
    EXPECT_EQ("calculate_headings: 100001 arguments are too many, allowed is 100000", more.error);
}

/// Wants more memory than there is.
class Greedy
{
public:
    int Take() { throw std::bad_alloc(); }
};

TEST(OperationTable, SaysOfWhatItLacksTheMemoryForThatItDoes)
{
    Greedy greedy;
    COperationTable table;
    table.Add("take_all", greedy, &Greedy::Take);

    const Answer answer = table.Call("take_all", BListC(nullptr));

    EXPECT_EQ("take_all: there is not enough memory for it", answer.error);
    EXPECT_EQ(nullptr, answer.value);
}

TEST(ServiceOperations, ShowOfAnOverlongNameWhatCanBePrinted)
{
    const std::string reply = Service().Request("a\n\x1b" + std::string(1000, 'x'), "[]");

    EXPECT_EQ("error: there is no operation \"a??" + std::string(77, 'x') + "...\"", reply);
}

} // namespace
