#ifndef KESTROVE_TOOLS_NAVCTL_EXITCODE_H
#define KESTROVE_TOOLS_NAVCTL_EXITCODE_H

/// The program's exit codes.
enum EExitCode : int
{
    kExitDone = 0,
    kExitRefused = 1,       ///< the service refused, or something stands in the way
    kExitUsage = 2,         ///< wrong arguments, or a file that cannot be used
    kExitCannotConnect = 3, ///< no service could be reached
    kExitNoReply = 4,       ///< the service did not reply or take a message in time
    kExitProtocolError = 5, ///< what answers does not keep the protocol
    kExitCannotWrite = 6,   ///< the standard output, or a file to write, cannot be written
};

#endif
