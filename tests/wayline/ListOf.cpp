#include "tests/wayline/ListOf.h"

std::unique_ptr<BListC> ListOf(const std::vector<Value>& values)
{
    auto list = std::make_unique<BListC>(nullptr);
    for (const Value& value : values) {
        if (const int* integer = std::get_if<int>(&value)) {
            list->AddInt(*integer);
        } else if (const double* number = std::get_if<double>(&value)) {
            list->AddDouble(*number);
        } else {
            list->AddString(std::get<std::string>(value));
        }
    }
    return list;
}
