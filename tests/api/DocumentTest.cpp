#include <map>

#include <gmock/gmock.h>

#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"
#include "tests/api/HeaderText.h"
#include "tests/api/OperationsDocument.h"

namespace {

using Contract::EDisposal;
using Contract::EGuard;
using Contract::EKind;
using Contract::EventRow;
using Contract::Row;

/// The parameters that the operation does not write, in order, each with how it travels.
Cells ParametersToSend(const Row& row)
{
    Cells texts;
    for (const Parameter& parameter : ParametersOf(row.operation)) {
        if (!parameter.IsOut()) {
            texts.push_back(parameter.WireType() + " " + parameter.name);
        }
    }
    return texts;
}

/// A documented element is a constant, "int 1", which must be sent just so, or a type with a
/// parameter of the operation, "double offset", or with a part of one, "double origin.x".
void ExpectArguments(const Row& row, const std::string& documented)
{
    if (!row.documentedArguments.empty()) {
        EXPECT_EQ(documented, row.documentedArguments);
        return;
    }
    const Cells elements = Elements(documented);
    const Cells sent = Elements(row.arguments);
    ASSERT_EQ(elements.size(), sent.size()) << documented;
    Cells parameters;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        const std::string parameter = elements[i].substr(0, elements[i].find('.'));
        const bool isFurtherPart = !parameters.empty() && parameters.back() == parameter;
        if (elements[i] != sent[i]) {
            EXPECT_EQ(FirstWord(elements[i]), FirstWord(sent[i])) << documented;
            parameters.insert(parameters.end(), isFurtherPart ? 0 : 1, parameter);
        }
    }
    EXPECT_EQ(parameters, ParametersToSend(row)) << documented;
}

std::string ReplyWord(const Row& row)
{
    if (row.kind == EKind::Notification) {
        return "none";
    }
    const std::unique_ptr<BElementC> reply(row.reply());
    return reply->Type() == EBElementType::List      ? "list"
           : reply->Type() == EBElementType::Integer ? "int"
                                                     : "double";
}

/// What the operation gives for its normal reply cut, or filled up with zeros, to a size.
std::string ResultOfReply(const Row& row, const BListC& reply, int size)
{
    auto list = std::make_unique<BListC>(nullptr);
    for (int i = 0; i < size; ++i) {
        if (reply.TypeAt(i) == EBElementType::Integer) {
            list->AddInt(reply.GetInt(i));
        } else {
            list->AddDouble(reply.GetDouble(i));
        }
    }
    Doubles::Recording().Reset();
    Doubles::Recording().ReplyWith(list.release());
    CNavigationAPI api;
    return row.run(api);
}

/// A documented list names the type of every element, and how many there must be where that
/// matters; the others, whose number the service chooses, are described in words.
void ExpectListReply(const Row& row, const std::string& documented)
{
    const std::unique_ptr<BElementC> reply(row.reply());
    const auto& list = dynamic_cast<const BListC&>(*reply);
    if (documented[0] != '[') {
        EXPECT_EQ(FirstWord(documented), "list");
        return;
    }
    const std::size_t end = documented.find(']') + 1;
    const Cells elements = Elements(documented.substr(0, end));
    const Cells sent = Elements(Doubles::Describe(list));
    ASSERT_EQ(elements.size(), sent.size()) << documented;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        EXPECT_EQ(FirstWord(elements[i]), FirstWord(sent[i])) << documented;
    }
    const bool exact = ResultOfReply(row, list, list.Size() + 1) == row.failure;
    EXPECT_TRUE(!exact || ResultOfReply(row, list, list.Size() - 1) == row.failure);
    EXPECT_EQ(documented.substr(end), exact ? ", exactly " + std::to_string(sent.size()) : "");
}

/// What is written into the out-parameters.
std::string OutText(const Row& row, const std::string& what)
{
    const Cells names = OutParametersOf(row.operation);
    return names.empty() ? "" : what + Joined(names);
}

/// What an operation of this result type does with a normal reply.
std::string ReturnsText(const Row& row)
{
    const std::string type = ResultTypeOf(row.operation);
    const std::string reply = ReplyWord(row);
    if (row.kind == EKind::Notification) {
        return row.result; // the same whatever became of the notification
    }
    if (type == "int" && reply == "list") {
        return "the status" + OutText(row, "; the other elements in ");
    }
    if (type == "bool") {
        return "true" + OutText(row, "; the elements in ");
    }
    const std::map<std::string, std::string> texts = {
        {"int", "the int"},
        {"double", "the double"},
        {"float", "the double as a float"},
        {"std::vector<double>", "the doubles"},
        {"Kestrove::WaylinePtr", "the wayline"},
    };
    return texts.at(type);
}

std::string FailureText(const Row& row)
{
    const std::map<std::string, std::string> inWords = {{"empty", "empty vector"},
                                                        {"null", "null pointer"}};
    const std::string value = FirstWord(row.failure);
    const std::string out = OutText(row, ", ");
    return (inWords.count(value) == 1 ? inWords.at(value) : value) +
           (out.empty() ? "" : out + " untouched");
}

std::string DisposalText(const Row& row)
{
    switch (row.disposal) {
    case EDisposal::AtOnce:
        return "destroyed before the reply";
    case EDisposal::Kept:
        return "kept";
    case EDisposal::KeptWithoutReply:
        return "destroyed after the reply; kept without one";
    default:
        return row.kind == EKind::Request ? "destroyed after the reply" : "destroyed after sending";
    }
}

/// What a yes-or-no operation makes of the reply `value`.
std::string Answer(const Row& row, int value)
{
    Doubles::Recording().Reset();
    Doubles::Recording().ReplyWith(new BAtomC(value));
    CNavigationAPI api;
    return row.run(api);
}

/// How the operation reads an int reply into a bool, found out by trying.
std::string TruthText(const Row& row)
{
    return Answer(row, 0) == "true"   ? "true for every reply"
           : Answer(row, 2) == "true" ? "true for all but 0"
                                      : "true for 1 alone";
}

TEST(OperationsDocument, HasARowForEveryOperationAndNoOther)
{
    std::vector<std::string> documented;
    for (const auto& [operation, cells] : DocumentedOperations()) {
        documented.push_back(operation);
    }
    for (const EventRow& row : Contract::EventTable()) {
        documented.push_back(row.setter);
    }
    EXPECT_THAT(documented, testing::UnorderedElementsAreArray(PublicOperations()));
}

TEST(OperationsDocument, AgreesWithTheWireContract)
{
    const std::map<std::string, Cells> documented = DocumentedOperations();
    for (const Row& row : Contract::Table()) {
        SCOPED_TRACE(row.operation);
        ASSERT_EQ(documented.count(row.operation), 1U);
        const Cells& cells = documented.at(row.operation);
        EXPECT_EQ(cells[kService], row.service);
        EXPECT_EQ(cells[kGuard], row.guard == EGuard::Reconnecting ? "reconnecting" : "verifying");
        EXPECT_EQ(cells[kKind], row.kind == EKind::Request ? "request" : "notification");
        ExpectArguments(row, cells[kArguments]);
        EXPECT_EQ(cells[kDisposal], DisposalText(row));
    }
}

TEST(OperationsDocument, TellsWhatTheReplyIsMadeOf)
{
    const std::map<std::string, Cells> documented = DocumentedOperations();
    for (const Row& row : Contract::Table()) {
        SCOPED_TRACE(row.operation);
        const std::string& text = documented.at(row.operation)[kReply];
        if (ReplyWord(row) == "list") {
            ExpectListReply(row, text);
        } else {
            EXPECT_EQ(text, ReplyWord(row));
        }
    }
}

TEST(OperationsDocument, TellsWhatIsReturnedAndWhatOnFailure)
{
    const std::map<std::string, Cells> documented = DocumentedOperations();
    for (const Row& row : Contract::Table()) {
        SCOPED_TRACE(row.operation);
        const Cells& cells = documented.at(row.operation);
        const bool isQuestion = ResultTypeOf(row.operation) == "bool" && ReplyWord(row) == "int";
        EXPECT_EQ(cells[kReturns], isQuestion ? TruthText(row) : ReturnsText(row));
        EXPECT_EQ(cells[kFailure], FailureText(row));
    }
}

TEST(OperationsDocument, AgreesWithTheEvents)
{
    const std::vector<Cells> rows = DocumentedEvents();
    ASSERT_EQ(rows.size(), Contract::EventTable().size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const EventRow& row = Contract::EventTable()[i];
        SCOPED_TRACE(row.setter);
        EXPECT_EQ(rows[i][kSetter], row.setter);
        EXPECT_EQ(rows[i][kEvent], row.event);
        const Cells sent = Elements(row.payload);
        const Cells documented = Elements(rows[i][kPayload]);
        ASSERT_EQ(documented.size(), sent.size());
        for (std::size_t element = 0; element < sent.size(); ++element) {
            EXPECT_EQ(FirstWord(documented[element]), FirstWord(sent[element]));
        }
        const char* count = row.exact ? "exactly " : "at least ";
        EXPECT_EQ(rows[i][kElements], count + std::to_string(sent.size()));
        EXPECT_EQ(rows[i][kTrace], row.trace.empty() ? "no" : "yes");
    }
}

/// The types that a setter's functor takes.
Cells FunctorTypes(const std::string& setter)
{
    const std::string type = ParametersOf(setter).at(0).type;
    const std::size_t begin = type.find('<');
    Cells types = Elements(type.substr(begin, type.rfind('>') + 1 - begin));
    EXPECT_EQ(types.at(0), "void");
    types.erase(types.begin());
    return types;
}

/// The names in "double x" or, of a vector's components, "Vector2<double> {x, y}".
Cells NamesIn(const std::string& argument, const std::string& type)
{
    const std::string names = argument.substr(type.size() + 1);
    return names[0] == '{' ? Elements(names) : Cells{names};
}

TEST(OperationsDocument, TellsWhatTheFunctorIsCalledWith)
{
    for (const Cells& cells : DocumentedEvents()) {
        SCOPED_TRACE(cells[kSetter]);
        const Cells types = FunctorTypes(cells[kSetter]);
        const Cells arguments = Elements(cells[kCall]);
        ASSERT_EQ(arguments.size(), types.size());
        Cells names;
        for (std::size_t i = 0; i < types.size(); ++i) {
            ASSERT_EQ(arguments[i].rfind(types[i] + " ", 0), 0U) << arguments[i];
            const Cells more = NamesIn(arguments[i], types[i]);
            names.insert(names.end(), more.begin(), more.end());
        }
        // The points to draw come of what follows the elements that have names of their own.
        if (cells[kEvent] != "cb_draw_points") {
            Cells elements;
            for (const std::string& element : Elements(cells[kPayload])) {
                elements.push_back(element.substr(element.find(' ') + 1));
            }
            elements.resize(names.size());
            EXPECT_EQ(names, elements);
        }
    }
}

TEST(WireContractTable, HasARowForEveryPublicOperationOfTheHeader)
{
    std::vector<std::string> covered;
    for (const Row& row : Contract::Table()) {
        if (covered.empty() || covered.back() != row.operation) {
            covered.push_back(row.operation);
        }
    }
    for (const EventRow& row : Contract::EventTable()) {
        covered.push_back(row.setter);
    }
    EXPECT_EQ(covered, PublicOperations());
    EXPECT_FALSE(covered.empty());
}

} // namespace
