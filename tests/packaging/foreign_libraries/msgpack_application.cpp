// An application's test that has a msgpack of its own beside the scripted service, and uses it
// while the library packs and unpacks.
#include <iostream>
#include <map>
#include <string>
#include <vector>

#include <msgpack.hpp>

#include <api/NavigationAPI.h>
#include <testing/ScriptedService.h>

namespace {

using Kept = std::map<std::string, std::vector<double>>;

Kept ThereAndBack(const Kept& kept)
{
    msgpack::sbuffer bytes;
    msgpack::pack(bytes, kept);
    const msgpack::object_handle handle = msgpack::unpack(bytes.data(), bytes.size());
    return handle.get().as<Kept>();
}

bool RefusesAnotherType()
{
    msgpack::sbuffer bytes;
    msgpack::pack(bytes, std::string("text"));
    const msgpack::object_handle handle = msgpack::unpack(bytes.data(), bytes.size());
    try {
        handle.get().as<int>();
    } catch (const msgpack::type_error&) {
        return true;
    }
    return false;
}

} // namespace

int main()
{
    const Kept kept{{"widths", {7.3, 2.1}}, {"offsets", {}}};
    Kestrove::Testing::CScriptedService service;
    service.Expect("SetImplementWidth", "[int 1, double 7.3]", 1);
    CNavigationAPI navigation;

    const bool before = ThereAndBack(kept) == kept;
    const int answer = navigation.SetImplementWidth(7.3);
    const bool after = ThereAndBack(kept) == kept && RefusesAnotherType();
    const std::string problems = service.Problems();

    std::cout << "SetImplementWidth gave " << answer << ", msgpack " << before << after << "\n"
              << problems;
    return answer == 1 && before && after && problems.empty() ? 0 : 1;
}
