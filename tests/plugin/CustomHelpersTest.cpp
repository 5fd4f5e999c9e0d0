// Plug-ins that serve paths.
#include <UT/UT_IStream.h>
#include <UT/UT_StringArray.h>
#include <UT/UT_WorkBuffer.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>
#include <stream/FS_Writer.h>
#include <stream/FSloadCustomHelpers.h>

#include <ostream>

#include "PluginTest.h"

using testing::ElementsAreArray;

namespace {

std::string contentOf(const char* path) {
    FS_Reader reader(path);
    if (!reader.isGood()) return "nothing";
    UT_WorkBuffer line;
    reader.getStream()->getLine(line, '\n');
    return std::string(line.view());
}

class CustomHelpers : public PluginTest {};

}  // namespace

TEST_F(CustomHelpers, TheFirstHandleOfAnyKindIsServed) {
    const std::string plugin = put("kept", "a/fs/kept.dll");
    put("recorder", "a/fs/other.dll");
    EXPECT_THAT(inFreshProcess({"a"},
                               [](Words& out) {
                                   out.push_back(contentOf("kept:who"));
                                   out.push_back(contentOf("http://kept/"));  // before the built-in helpers
                               }),
                ElementsAreArray({plugin, std::string("an address")}));
    EXPECT_THAT(inFreshProcess({"a"},
                               [](Words& out) {
                                   out.push_back(FS_Info("kept:who").fileExists() ? "exists" : "missing");
                                   out.push_back(FS_Info("kept:").getIsDirectory() ? "directory" : "none");
                                   UT_StringArray names;
                                   FS_Info("kept:").getContents(names, nullptr, nullptr, nullptr);
                                   out.push_back(names(1).buffer());
                               }),
                ElementsAreArray({"exists", "directory", "kept:who"}));
    EXPECT_THAT(inFreshProcess({"a"},
                               [](Words& out) {
                                   FS_Writer writer("kept:new");
                                   if (writer.getStream()) *writer.getStream() << "written";
                                   out.push_back(writer.finish() ? "done" : "failed");
                                   out.push_back(contentOf("kept:new"));
                                   out.push_back(std::to_string(FS_Info("kept:new").getFileDataSize()));
                               }),
                ElementsAreArray({"done", "written", "7"}));
}

TEST_F(CustomHelpers, ANameLoadsOnceFromItsFirstCopyAndLaterPluginsAreAskedFirst) {
    const std::string first = put("kept", "a/fs/b.dll");
    dir_.write("b/fs/b.dll", "shadowed, so nobody looks at it");
    put("kept", "b/fs/a.dll");
    // Of one directory in the order of the names, and directory by directory: a.dll of the second comes last.
    EXPECT_THAT(inFreshProcess({"a b"}, [](Words& out) { out.push_back(contentOf("kept:who")); }),
                ElementsAreArray({dir_.path("b/fs/a.dll")}));
    EXPECT_THAT(inFreshProcess({"a"}, [](Words& out) { out.push_back(contentOf("kept:who")); }),
                ElementsAreArray({first}));
}

TEST_F(CustomHelpers, OneThatFailsIsToldAndTheOthersAreTried) {
    const std::string broken = dir_.write("a/fs/a.dll", "no library");
    put("version_longer", "a/fs/b.dll");
    const std::string good = put("kept", "b/fs/b.dll");
    EXPECT_THAT(inFreshProcess({"a b"}, [](Words& out) { out.push_back(contentOf("kept:who")); }),
                ElementsAreArray(
                    {box(broken, kOtherVersion), box("fs/b.dll", "Incorrect version 9.0.1 should be 9.0."), good}));
}

TEST_F(CustomHelpers, TheyAreLookedForOnce) {
    dir_.makeDirectory("a");
    EXPECT_THAT(inFreshProcess({"a"},
                               [&](Words& out) {
                                   FSloadCustomHelpers();
                                   put("kept", "a/fs/kept.dll");
                                   FSloadCustomHelpers();
                                   out.push_back(contentOf("kept:who"));
                               }),
                ElementsAreArray({"nothing"}));
}

TEST_F(CustomHelpers, APluginThatOpensAPathWhileItInstallsIsInstalledTwice) {
    put("opening", "a/fs/x.dll");
    EXPECT_THAT(inFreshProcess({"a"}, [](Words& out) { out.push_back(contentOf("kept:opened")); }),
                ElementsAreArray({"yy"}));
}
