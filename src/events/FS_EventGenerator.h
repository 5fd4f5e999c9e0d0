#pragma once
// Something that wants to be told when there is work for it. The library has no event loop: the host application has,
// and serves the generators that it is asked to serve.
//
//     int serve(FS_EventGenerator* generator, int install) {  // the host's; docs/events.md has a whole one
//         install ? loop.add(generator, generator->getFileDescriptor()) : loop.remove(generator);
//         return 1;
//     }
//     FS_EventGenerator::setInstaller(serve);
//
// While a generator is served, the host calls processEvents() when its descriptor can be read, and at the period of
// its poll time if areEventsWaiting() then says so. All calls come on the host's thread. The two functions of the host
// are for the whole process, to be set before there are generators.
#include <UT/UT_Export.h>

class TARVANI_EXPORT FS_EventGenerator {
public:
    FS_EventGenerator() = default;
    // A copy isn't installed.
    FS_EventGenerator(const FS_EventGenerator&) = default;
    FS_EventGenerator& operator=(const FS_EventGenerator&) = default;
    virtual ~FS_EventGenerator();

    // The name of the class, valid for ever.
    virtual const char* getClassName() const = 0;
    // The descriptor to watch for reading, -1 for none. It may change while the generator is installed.
    virtual int getFileDescriptor();
    // How often to ask areEventsWaiting, since events can arise with nothing to be seen at the descriptor. In the
    // host's unit, for which the library's own 1000 means milliseconds well; -1 for never. It may change while the
    // generator is installed.
    virtual int getPollTime();
    // True if processEvents would have something to do.
    virtual bool areEventsWaiting();
    // Does what there is to do. It may destroy the generator, of which the host hears through its installer before this
    // returns: whatever the result, the generator is not to be touched afterwards unless it is still known there.
    // 0 means that the generator has stopped, by its end or with nothing left to watch.
    virtual int processEvents() = 0;

    // Asks the host to serve this generator, and gives the host's answer; 0 without a host.
    int installGenerator();
    // Tells the host to serve it no longer. By then the descriptor may be given up already.
    void uninstallGenerator();
    // Lets the host's loop run for a moment, for work that takes long inside processEvents. What the argument means is
    // the host's own. Nothing happens unless the host has offered that.
    void pollEventLoop(bool argument);

    // Sets the host's function, which gets a generator and 1 to serve it or 0 to stop. It must bear to be called from
    // inside processEvents and from inside constructors, and with a 0 for one that it never took. Null for none.
    static void setInstaller(int (*installer)(FS_EventGenerator* generator, int install));
    // Sets what pollEventLoop calls. Null for none.
    static void setEventLoopPollCallback(void (*callback)(bool));
    // True if pollEventLoop has something to call.
    static bool isEventLoopPollCallbackSet();

private:
    static int (*installer)(FS_EventGenerator*, int);
    static void (*eventLoopPollCallback)(bool);
};
