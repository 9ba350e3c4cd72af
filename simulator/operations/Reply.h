#ifndef KESTROVE_SIMULATOR_OPERATIONS_REPLY_H
#define KESTROVE_SIMULATOR_OPERATIONS_REPLY_H

#include <memory>
#include <string>
#include <vector>

#include "core/Vector3.h"
#include "platform/BElement.h"

/// The value that an operation answers with; null stands for "nothing".
using Value = std::unique_ptr<BElementC>;

/// What operations answer that change the nudge: whether they did, and the nudge as it is now.
struct StatusAndVector
{
    int status;
    Core::Maths::Vector3<double> vector;
};

/// What a handler's result looks like on the link: a status, a flag and a number are bare values, a
/// vector and a row of numbers are lists.
inline Value ToValue(int status)
{
    return std::make_unique<BAtomC>(status);
}
inline Value ToValue(bool flag)
{
    return std::make_unique<BAtomC>(flag ? 1 : 0);
}
inline Value ToValue(double number)
{
    return std::make_unique<BAtomC>(number);
}
inline Value ToValue(const std::string& text)
{
    return std::make_unique<BAtomC>(text);
}
inline Value ToValue(Value value)
{
    return value;
}

inline Value ToValue(const std::vector<double>& numbers)
{
    auto list = std::make_unique<BListC>(nullptr);
    list->Reserve(static_cast<int>(numbers.size()));
    for (const double number : numbers) {
        list->AddDouble(number);
    }
    return list;
}

inline Value ToValue(const std::vector<std::string>& texts)
{
    auto list = std::make_unique<BListC>(nullptr);
    for (const std::string& text : texts) {
        list->AddString(text);
    }
    return list;
}

inline Value ToValue(const Core::Maths::Vector3<double>& vector)
{
    return ToValue(std::vector<double>{vector.x, vector.y, vector.z});
}
inline Value ToValue(const StatusAndVector& answer)
{
    auto list = std::make_unique<BListC>(nullptr);
    list->AddInt(answer.status);
    for (const double component : {answer.vector.x, answer.vector.y, answer.vector.z}) {
        list->AddDouble(component);
    }
    return list;
}

#endif
