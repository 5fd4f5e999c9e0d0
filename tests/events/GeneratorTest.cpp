#include <events/FS_EventGenerator.h>
#include <gtest/gtest.h>

#include <string>

TEST(EventGenerator, ReachesTheHostThroughItsFunctionsAndWantsNothingItself) {
    struct Plain : FS_EventGenerator {
        const char* getClassName() const override { return "Plain"; }
        int processEvents() override { return 0; }
    } plain;
    EXPECT_EQ(plain.getFileDescriptor() + plain.getPollTime(), -2);
    EXPECT_FALSE(plain.areEventsWaiting() || FS_EventGenerator::isEventLoopPollCallbackSet());
    EXPECT_EQ(plain.installGenerator(), 0) << "without a host";
    plain.uninstallGenerator();
    plain.pollEventLoop(true);

    static std::string calls;
    FS_EventGenerator::setInstaller([](FS_EventGenerator* generator, int install) {
        calls += generator->getClassName() + std::to_string(install);
        return 7;
    });
    FS_EventGenerator::setEventLoopPollCallback([](bool value) { calls += value ? "+" : "-"; });
    EXPECT_TRUE(FS_EventGenerator::isEventLoopPollCallbackSet());
    EXPECT_EQ(plain.installGenerator(), 7);
    plain.uninstallGenerator();
    plain.pollEventLoop(true);
    plain.pollEventLoop(false);
    EXPECT_EQ(calls, "Plain1Plain0+-");
}
