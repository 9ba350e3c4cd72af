#include "tests/api/ContractTable.h"

#include <utility>

#include "tests/doubles/Recording.h"

namespace Contract {

Row& Row::Disposing(EDisposal value)
{
    disposal = value;
    return *this;
}

Row& Row::OfWrongType(const std::string& text)
{
    resultOfWrongType = text;
    return *this;
}

Row& Row::Building(std::vector<std::string> lines)
{
    building = std::move(lines);
    return *this;
}

Row& Row::Cleaning(std::vector<std::string> lines)
{
    cleaning = std::move(lines);
    return *this;
}

Row& Row::Documented(const std::string& text)
{
    documentedArguments = text;
    return *this;
}

std::string Row::Name() const
{
    const std::size_t end = operation.find('(');
    const std::size_t begin = operation.rfind(' ', end) + 1;
    return operation.substr(begin, end - begin);
}

Row RequestRow(const std::string& operation, EGuard guard, const std::string& service,
               const std::string& arguments, const MakeReply& reply, const std::string& result,
               const std::string& failure, const Run& run)
{
    Row row;
    row.operation = operation;
    row.guard = guard;
    row.kind = EKind::Request;
    row.service = service;
    row.arguments = arguments;
    row.reply = reply;
    row.result = result;
    row.failure = failure;
    row.resultOfWrongType = failure;
    row.run = run;
    return row;
}

Row NotificationRow(const std::string& operation, EGuard guard, const std::string& service,
                    const std::string& arguments, const std::string& result,
                    const std::string& failure, const Run& run)
{
    Row row = RequestRow(operation, guard, service, arguments, nullptr, result, failure, run);
    row.kind = EKind::Notification;
    return row;
}

void PrintTo(const Row& row, std::ostream* stream)
{
    *stream << row.operation << " " << row.arguments;
}

void PrintTo(const EventRow& row, std::ostream* stream)
{
    *stream << row.setter;
}

const std::vector<Row>& Table()
{
    static const std::vector<Row> table = [] {
        std::vector<Row> all;
        for (const auto& rows :
             {SteeringRows(), WaylineRows(), OffsetRows(), PositionFeedRows(), TuningRows()}) {
            all.insert(all.end(), rows.begin(), rows.end());
        }
        return all;
    }();
    return table;
}

std::string Text(bool value)
{
    return value ? "true" : "false";
}

std::string Text(int value)
{
    return std::to_string(value);
}

std::string Text(double value)
{
    const std::string text = Doubles::Describe(value);
    return text.find_first_not_of("-0123456789") == std::string::npos ? text + ".0" : text;
}

std::string Text(const Core::Maths::Vector3<double>& vector)
{
    return "(" + Text(vector.x) + ", " + Text(vector.y) + ", " + Text(vector.z) + ")";
}

MakeReply IntReply(int value)
{
    return [value] { return new BAtomC(value); };
}

MakeReply DoubleReply(double value)
{
    return [value] { return new BAtomC(value); };
}

} // namespace Contract
