// The comments of the client's header against docs/operations.md, which other tests hold against
// the client itself.

#include <algorithm>

#include <gtest/gtest.h>

#include "tests/api/HeaderText.h"
#include "tests/api/OperationsDocument.h"

namespace {

bool Holds(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

/// The documented arguments without their types: "[int 1, double offset]" becomes "[1, offset]".
std::string ArgumentNames(const std::string& documented)
{
    Cells names;
    if (documented[0] != '[' || documented == "[list form of each wayline]") {
        return documented;
    }
    for (const std::string& element : Elements(documented)) {
        names.push_back(element.substr(element.find(' ') + 1));
    }
    return "[" + Joined(names) + "]";
}

/// The Wire line that belongs to the cells of an operation.
std::string WireText(const Cells& cells)
{
    const std::string reply = cells[kKind] == "request" ? " -> " + cells[kReply] : "";
    return "Wire: " + cells[kGuard] + " " + cells[kKind] + " \"" + cells[kService] + "\" " +
           ArgumentNames(cells[kArguments]) + reply + ".";
}

TEST(ClientHeader, TellsOfEveryOperationWhatTheOperationsDocumentTells)
{
    const std::map<std::string, Cells> documented = DocumentedOperations();
    std::size_t count = 0;
    for (const Declaration& declaration : PublicDeclarations()) {
        const auto found = documented.find(declaration.text);
        if (found != documented.end()) {
            SCOPED_TRACE(declaration.text + "\n" + declaration.comment);
            ++count;
            EXPECT_PRED2(Holds, declaration.comment, WireText(found->second));
        }
    }
    EXPECT_EQ(count, documented.size());
}

TEST(ClientHeader, TellsOfEveryEventWhatTheOperationsDocumentTells)
{
    std::map<std::string, std::string> comments;
    for (const Declaration& declaration : PublicDeclarations()) {
        comments[declaration.text] = declaration.comment;
    }
    for (const Cells& cells : DocumentedEvents()) {
        const std::string wire = "Wire: event \"" + cells[kEvent] + "\" " + cells[kPayload] + ", " +
                                 cells[kElements] + ".";
        EXPECT_PRED2(Holds, comments[cells[kSetter]], wire) << cells[kSetter];
        EXPECT_EQ(Holds(comments[cells[kSetter]], "trace line"), cells[kTrace] == "yes");
    }
}

/// What a comment must say of a failure, given what the document says: the value, and that the
/// out-parameters stay as they are.
TEST(ClientHeader, TellsTheFailureValueOfEveryOperation)
{
    const std::map<std::string, Cells> documented = DocumentedOperations();
    for (const Declaration& declaration : PublicDeclarations()) {
        const auto found = documented.find(declaration.text);
        if (found == documented.end() || found->second[kFailure] == "nothing") {
            continue;
        }
        const std::string value = FirstWord(found->second[kFailure]);
        const std::size_t result = declaration.comment.find("@return ");
        ASSERT_NE(result, std::string::npos) << declaration.text;
        const std::string text = declaration.comment.substr(result);
        const bool told = Holds(text, value) || (value == "false" && Holds(text, "False"));
        EXPECT_TRUE(told) << declaration.text << "\n" << text;
        EXPECT_EQ(Holds(declaration.comment, "untouched on failure"),
                  Holds(found->second[kFailure], "untouched"))
            << declaration.text;
    }
}

TEST(ClientHeader, TellsOfEveryParameterAndResult)
{
    for (const Declaration& declaration : PublicDeclarations()) {
        SCOPED_TRACE(declaration.text + "\n" + declaration.comment);
        std::string told = declaration.comment;
        for (const char separator : {',', '\n'}) {
            std::replace(told.begin(), told.end(), separator, ' ');
        }
        for (const Parameter& parameter : ParametersOf(declaration.text)) {
            const std::size_t first = told.find("@param ");
            ASSERT_NE(first, std::string::npos);
            EXPECT_PRED2(Holds, told.substr(first), " " + parameter.name + " ");
        }
        EXPECT_EQ(Holds(told, "@return "), ResultTypeOf(declaration.text) != "void");
    }
}

} // namespace
