#include <events/FS_EventGenerator.h>
#include <gtest/gtest.h>

namespace {
class Plain : public FS_EventGenerator {
public:
    const char* getClassName() const override { return "Plain"; }
    int processEvents() override { return 0; }
};

FS_EventGenerator* seen = nullptr;
int flags = 0, argument = -1;
}  // namespace

TEST(EventGenerator, WantsNothingUnlessASubclassDoes) {
    Plain plain;
    EXPECT_EQ(plain.getFileDescriptor(), -1);
    EXPECT_EQ(plain.getPollTime(), -1);
    EXPECT_FALSE(plain.areEventsWaiting());
}

TEST(EventGenerator, ReachesTheHostThroughItsFunctions) {
    Plain plain;
    EXPECT_EQ(plain.installGenerator(), 0);
    plain.uninstallGenerator();
    FS_EventGenerator::setInstaller([](FS_EventGenerator* generator, int install) {
        seen = generator;
        return flags = 10 + install;
    });
    EXPECT_EQ(plain.installGenerator(), 11);
    EXPECT_EQ(seen, &plain);
    plain.uninstallGenerator();
    EXPECT_EQ(flags, 10);
    FS_EventGenerator::setInstaller(nullptr);
    EXPECT_EQ(plain.installGenerator(), 0);

    EXPECT_FALSE(FS_EventGenerator::isEventLoopPollCallbackSet());
    FS_EventGenerator::setEventLoopPollCallback([](bool value) { argument = value; });
    EXPECT_TRUE(FS_EventGenerator::isEventLoopPollCallbackSet());
    plain.pollEventLoop(true);
    EXPECT_EQ(argument, 1);
    plain.pollEventLoop(false);
    EXPECT_EQ(argument, 0);
    FS_EventGenerator::setEventLoopPollCallback(nullptr);
    EXPECT_FALSE(FS_EventGenerator::isEventLoopPollCallbackSet());
    plain.pollEventLoop(true);
    EXPECT_EQ(argument, 0);
}
