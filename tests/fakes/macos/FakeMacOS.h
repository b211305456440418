#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <map>
#include <string>
#include <vector>
#include <xpc/xpc.h>

// A fake of the system's C interfaces (see include/). It records what it is asked and plays a machine that a test sets
// up.
//
// Objects are counted: a reference too many or too few shows in `liveObjects`, and giving one back twice ends the
// program. Mach services work within the process: a client's message reaches the listener of that name, if there is
// one.

namespace fake {

/// What the machine is like. Set it before the calls that it is to change.
struct Machine {
    int macOSVersion = 14;              ///< the major number
    OSStatus authorizationStatus = 0;   ///< what AuthorizationCreate returns
    bool blessResult = true;            ///< what SMJobBless returns
    CFErrorRef blessError = nullptr;    ///< what SMJobBless leaves in the error slot, if not null
    bool connectionsAreNull = false;    ///< no connection can be made
    bool holdMessages = false;          ///< messages wait for `deliverReply`
    int requirementStatus = 0;          ///< what setting a code signing requirement returns
    bool requirementTextIsValid = true; ///< whether SecRequirementCreateWithString takes the text
    bool messageHasCode = true;         ///< whether SecCodeCreateWithXPCMessage finds the sender's code
    bool clientSatisfiesRequirement = true;
    unsigned clientUser = 501;
    int powerStatus = 0;          ///< what IOPMAssertionCreateWithName returns
    unsigned assertionsMade = 0;  ///< how often it was called
    std::string localeIdentifier; ///< empty: the environment's
    std::vector<std::string> preferredLanguages;
    std::map<std::string, std::string> volumeNames = {{"/", "Macintosh HD"}};
    std::map<std::string, double> freeBytes; ///< instead of the host's own answer
};
Machine &machine();

/// A new machine, nothing recorded, no listener. Objects live on.
void reset();

/// What was asked, in order: "function argument=value ...". Calls that only make or drop an object are not recorded.
std::vector<std::string> calls();
void record(std::string call);

/// How many objects were made and not given back yet.
int liveObjects();
void countObject(int change);

/// An object of the error type of CoreFoundation.
CFErrorRef makeError();
std::string text(CFStringRef string);

/// Runs what waits on the main queue, on the calling thread. With an application object its event loop does so, too.
void drainMainQueue();

/// Returns when nothing waits or runs on any queue but the main one.
void waitForQueues();

/// The queue that a null target queue stands for.
dispatch_queue_t defaultQueue();

/// Delivers \p event to the connection's event handler, on the default queue, and waits until it has returned.
void deliverEvent(xpc_connection_t connection, const void *event);

/// Answers the oldest held message: with a dictionary, or with an object in place of it.
void deliverReply(const std::map<std::string, std::string> &strings);
void deliverReply(const void *object);

/// The process that listens for \p serviceName dies: whoever waits for a reply of it learns so.
void loseHelper(const char *serviceName);

/// Takes the listener for \p serviceName away, as if no such service had ever been registered.
void forgetService(const char *serviceName);

} // namespace fake
