#include <events/FS_EventGenerator.h>
#include <gtest/gtest.h>

#include <string>

namespace {
class Plain : public FS_EventGenerator {
public:
    const char* getClassName() const override { return "Plain"; }
    int processEvents() override { return 0; }
};

std::string calls;
}  // namespace

TEST(EventGenerator, WantsNothingUnlessASubclassDoes) {
    Plain plain;
    EXPECT_EQ(plain.getFileDescriptor(), -1);
    EXPECT_EQ(plain.getPollTime(), -1);
    EXPECT_FALSE(plain.areEventsWaiting());
}

TEST(EventGenerator, ReachesTheHostThroughItsFunctions) {
    Plain plain;
    const auto callAll = [&] {
        calls.clear();
        const int result = plain.installGenerator();
        plain.uninstallGenerator();
        plain.pollEventLoop(true);
        plain.pollEventLoop(false);
        return result;
    };
    EXPECT_FALSE(FS_EventGenerator::isEventLoopPollCallbackSet());
    EXPECT_EQ(callAll(), 0);
    FS_EventGenerator::setInstaller([](FS_EventGenerator* generator, int install) {
        calls.append(generator->getClassName()).append(install ? "+" : "-");
        return 7;
    });
    FS_EventGenerator::setEventLoopPollCallback([](bool value) { calls += value ? "1" : "0"; });
    EXPECT_TRUE(FS_EventGenerator::isEventLoopPollCallbackSet());
    EXPECT_EQ(callAll(), 7);
    EXPECT_EQ(calls, "Plain+Plain-10");
    FS_EventGenerator::setInstaller(nullptr);
    FS_EventGenerator::setEventLoopPollCallback(nullptr);
    EXPECT_FALSE(FS_EventGenerator::isEventLoopPollCallbackSet());
    EXPECT_EQ(callAll(), 0);
    EXPECT_EQ(calls, "");
}
