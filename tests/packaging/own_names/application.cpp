// An application that uses the client and the waylines. Whatever else the library exports, the
// application may have under the same name (see check_own_names.sh).
#include <cstdio>

#include <api/NavigationAPI.h>

int main()
{
    CNavigationAPI navigation;
    navigation.SetLookAheadTime(1.75, false);
    if (navigation.GetLookAheadTime() != 1.75) {
        std::puts("the look-ahead time is another");
        return 1;
    }
    navigation.SetWayline(Kestrove::WaylinePtr(new Kestrove::CABWayline({0, 0, 0}, {0, 100, 0})));
    const Kestrove::WaylinePtr wayline = navigation.GetWayline();
    // Made inside the library, looked at outside.
    const auto* const line = dynamic_cast<const Kestrove::CABWayline*>(wayline.Get());
    if (line == nullptr ||
        dynamic_cast<const Kestrove::CCircleWayline*>(wayline.Get()) != nullptr) {
        std::puts("the wayline is of another kind");
        return 1;
    }
    return 0;
}
