#include "api/NavigationAPI.h"

#include "api/CallFrame.h"
#include "platform/ObjectStore.h"

int CNavigationAPI::SetPositionData(double latitude, double longitude, double height, double course,
                                    double speed, double roll, double pitch, double yaw,
                                    double rollRate, double pitchRate, double yawRate,
                                    double sigmaEast, double sigmaNorth, double sigmaUp,
                                    bool positionValid, int fixQuality, int satellites,
                                    bool headingValid, bool reversing, int sampleNumber,
                                    double time)
{
    if (!ReconnectingGuard()) {
        return -1;
    }
    // The store takes references that it may write to, so it gets copies.
    double movement[] = {latitude, longitude, height,    course,  speed,     roll,       pitch,
                         yaw,      rollRate,  pitchRate, yawRate, sigmaEast, sigmaNorth, sigmaUp};
    int quality[] = {positionValid ? 1 : 0, fixQuality,        satellites,
                     headingValid ? 1 : 0,  reversing ? 1 : 0, sampleNumber};
    double sampleTime = time;

    // The tag of a value is its place in the record, counted from 1.
    Core::IO::ObjectStore record;
    record.SetOutputMode();
    unsigned int tag = 1;
    for (double& value : movement) {
        record.ProcessDouble(value, tag++);
    }
    for (int& value : quality) {
        record.ProcessInt(value, tag++);
    }
    record.ProcessDouble(sampleTime, tag);
    Notify("SetPositionData", CallFrame::ArgumentsOf(record.AsString()));
    return 0;
}
