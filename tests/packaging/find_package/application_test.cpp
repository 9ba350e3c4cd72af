#include <iostream>
#include <string>

#include <api/NavigationAPI.h>
#include <testing/ScriptedService.h>

#ifdef EXPECTED_STANDARD // what the build was asked for, 17 or 20
static_assert(__cplusplus / 100 % 100 == EXPECTED_STANDARD);
#endif

int main()
{
    Kestrove::Testing::CScriptedService service;
    service.Expect("EngageSteering", "[int 1]", 1);
    CNavigationAPI navigation;

    const int answer = navigation.EngageSteering();
    const std::string problems = service.Problems();

    std::cout << "EngageSteering gave " << answer << "\n" << problems;
    return answer == 1 && problems.empty() ? 0 : 1;
}
