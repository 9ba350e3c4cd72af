#include <map>
#include <sstream>

#include <gmock/gmock.h>

#include "tests/api/ApiTest.h"
#include "tests/api/ContractTable.h"
#include "tests/api/HeaderText.h"

namespace {

using Contract::EDisposal;
using Contract::EGuard;
using Contract::EKind;
using Contract::EventRow;
using Contract::Row;
using Cells = std::vector<std::string>;

enum Column
{
    kOperation,
    kService,
    kGuard,
    kKind,
    kArguments,
    kReply,
    kReturns,
    kFailure,
    kDisposal,
    kColumns,
};

/// The documented operations by their declarations.
std::map<std::string, Cells> DocumentedOperations()
{
    std::map<std::string, Cells> operations;
    const std::string document = SourceFile("docs/operations.md");
    for (const char* heading :
         {"## Steering and navigation", "## Waylines and waypoints",
          "## Offsets, nudge and implement", "## Position feed", "## Controller tuning"}) {
        for (const Cells& cells : TableBelow(document, heading)) {
            EXPECT_EQ(cells.size(), static_cast<std::size_t>(kColumns)) << cells[0];
            EXPECT_TRUE(operations.emplace(cells[kOperation], cells).second) << cells[0];
        }
    }
    return operations;
}

std::string FirstWord(const std::string& text)
{
    return text.substr(0, text.find_first_of(" ,:"));
}

Cells Elements(const std::string& list)
{
    Cells elements;
    std::istringstream stream(list.substr(1, list.size() - 2));
    for (std::string element; std::getline(stream >> std::ws, element, ',');) {
        elements.push_back(element);
    }
    return elements;
}

/// A documented element is a constant, "int 1", which must be sent just so, or a type with a
/// parameter of the operation, "double offset", of which the type must be sent.
void ExpectArguments(const Row& row, const std::string& documented)
{
    if (!row.documentedArguments.empty()) {
        EXPECT_EQ(documented, row.documentedArguments);
        return;
    }
    const Cells elements = Elements(documented);
    const Cells sent = Elements(row.arguments);
    ASSERT_EQ(elements.size(), sent.size()) << documented;
    for (std::size_t i = 0; i < sent.size(); ++i) {
        const std::string name = elements[i].substr(elements[i].find(' ') + 1);
        const std::string parameter = " " + name.substr(0, name.find('.'));
        if (elements[i] != sent[i]) {
            EXPECT_EQ(FirstWord(elements[i]), FirstWord(sent[i]));
            EXPECT_NE(row.operation.find(parameter), std::string::npos) << elements[i];
        }
    }
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
        EXPECT_EQ(FirstWord(cells[kReply]), ReplyWord(row));
        EXPECT_EQ(FirstWord(cells[kFailure]), FirstWord(row.failure));
        EXPECT_EQ(cells[kDisposal], DisposalText(row));
    }
}

TEST(OperationsDocument, TellsWhichRepliesCountAsTrue)
{
    const std::map<std::string, Cells> documented = DocumentedOperations();
    for (const Row& row : Contract::Table()) {
        if (row.operation.rfind("bool ", 0) == 0 && ReplyWord(row) == "int") {
            EXPECT_EQ(documented.at(row.operation)[kReturns], TruthText(row)) << row.operation;
        }
    }
}

TEST(OperationsDocument, AgreesWithTheEvents)
{
    const auto rows = TableBelow(SourceFile("docs/operations.md"), "## Events");
    ASSERT_EQ(rows.size(), Contract::EventTable().size());
    for (std::size_t i = 0; i < rows.size(); ++i) {
        const EventRow& row = Contract::EventTable()[i];
        SCOPED_TRACE(row.setter);
        EXPECT_EQ(rows[i][0], row.setter);
        EXPECT_EQ(rows[i][1], row.event);
        const Cells sent = Elements(row.payload);
        const Cells documented = Elements(rows[i][2]);
        ASSERT_EQ(documented.size(), sent.size());
        for (std::size_t element = 0; element < sent.size(); ++element) {
            EXPECT_EQ(FirstWord(documented[element]), FirstWord(sent[element]));
        }
        EXPECT_EQ(rows[i][3], (row.exact ? "exactly " : "at least ") + std::to_string(sent.size()));
        EXPECT_EQ(rows[i][4] == "yes", !row.trace.empty());
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
