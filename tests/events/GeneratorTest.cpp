#include <events/FS_EventGenerator.h>
#include <gtest/gtest.h>

#include <string>

TEST(EventGenerator, ReachesTheHostThroughItsFunctionsAndWantsNothingItself) {
    struct Plain : FS_EventGenerator {
        const char* getClassName() const override { return "Plain"; }
        int processEvents() override { return 0; }
    } plain;
    EXPECT_EQ(plain.getFileDescriptor(), -1);
    EXPECT_EQ(plain.getPollTime(), -1);
    EXPECT_FALSE(plain.areEventsWaiting());

    static std::string calls;
    const auto callAll = [&] {
        calls.clear();
        const int result = plain.installGenerator();
        plain.uninstallGenerator();
        plain.pollEventLoop(true);
        plain.pollEventLoop(false);
        return calls + "=" + std::to_string(result);
    };
    EXPECT_EQ(callAll(), "=0") << "as loaded";
    for (const bool hasHost : {false, true, false}) {
        FS_EventGenerator::setInstaller(!hasHost ? nullptr : +[](FS_EventGenerator* generator, int install) {
            calls.append(generator->getClassName()).append(install == 1 ? "+" : install == 0 ? "-" : "?");
            return 7;
        });
        FS_EventGenerator::setEventLoopPollCallback(!hasHost ? nullptr
                                                             : +[](bool value) { calls += value ? "1" : "0"; });
        EXPECT_EQ(FS_EventGenerator::isEventLoopPollCallbackSet(), hasHost);
        EXPECT_EQ(callAll(), hasHost ? "Plain+Plain-10=7" : "=0");
    }
}
