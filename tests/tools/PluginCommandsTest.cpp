// plugins.
#include <cstdlib>
#include <fstream>
#include <sstream>

#include "../support/Environment.h"
#include "TarvaniCommand.h"

using testing::HasSubstr;

namespace {

class PluginCommands : public TarvaniCommand {
protected:
    void put(const std::string& plugin, const std::string& place) const {
        std::ifstream in(TARVANI_TEST_PLUGINS "/" + plugin + ".dll", std::ios::binary);
        std::ostringstream bytes;
        bytes << in.rdbuf();
        ASSERT_FALSE(bytes.str().empty()) << plugin;
        dir_.write(place, bytes.str());
    }
    // The lines of what is printed, with "." for the scratch directory.
    Words lines(const Words& words) {
        std::string text = printed(words);
        for (std::size_t at; (at = text.find(dir_.path())) != std::string::npos;)
            text.replace(at, dir_.path().size(), ".");
        std::istringstream in(text);
        Words lines;
        for (std::string line; std::getline(in, line);) lines.push_back(line);
        return lines;
    }

    const std::string path_ = dir_.path("a") + ":" + dir_.path("b");
    const std::string user_ = dir_.path("u");
    const WithVariable plugins_{"TARVANI_DSO_PATH", path_.c_str()};
    const WithVariable site_{"TARVANI_SITE_DSO_PATH", dir_.path("none").c_str()};
    const WithVariable users_{"TARVANI_USER_DSO_PATH", user_.c_str()};
};

}  // namespace

TEST_F(PluginCommands, EachIsALineInTheOrderInWhichTheyLoad) {
    dir_.write("a/fs/broken.dll", "no library");
    put("crashing", "a/fs/crash.dll");
    put("version_longer", "a/fs/kept.dll");
    put("kept", "b/fs/kept.dll");
    put("kept", "u/fs/kept.dll");  // known path 1 alone has helpers
    put("recorder", "a/fs/none.dll");
    put("recorder", "b/fs/none.dll");
    put("version_null", "a/fs/null.dll");
    // The libraries of all paths.
    put("version_none", "b/x.dll");
    put("recorder", "a/x.dll");
    put("recorder", "a/y.dll");
    put("recorder", "u/z.dll");
    put("recorder", "u/.hidden.dll");
    dir_.makeDirectory("u/directory.dll");
    const Words found = lines({"plugins"});
    ASSERT_EQ(found.size(), 11u) << testing::PrintToString(found);
    EXPECT_THAT(found[0], HasSubstr("refused\t-\t./a/fs/broken.dll\tcan't be loaded: ./a/fs/broken.dll: "));
    EXPECT_EQ(found[1], "refused\t-\t./a/fs/crash.dll\tcrashes while it is loaded: Aborted");
    EXPECT_EQ(found[2], "refused\t9.0.1\t./a/fs/kept.dll\tversion \"9.0.1\" should be \"9.0\"");
    EXPECT_EQ(found[3], "loaded\t9.0\t./b/fs/kept.dll");
    EXPECT_EQ(found[4], "loaded\t9.0\t./a/fs/none.dll");
    EXPECT_EQ(found[5], "shadowed\t-\t./b/fs/none.dll\tby ./a/fs/none.dll");
    EXPECT_EQ(found[6], "refused\t-\t./a/fs/null.dll\tits version function gives no text");
    EXPECT_EQ(found[7], "loaded\t9.0\t./u/z.dll");
    EXPECT_EQ(found[8], "loaded\t9.0\t./a/y.dll");
    EXPECT_EQ(found[9], "loaded\t9.0\t./a/x.dll");
    EXPECT_THAT(found[10], HasSubstr("refused\t-\t./b/x.dll\tno version function (#include <UT/UT_DSOVersion> gives"));
    EXPECT_THAT(found[10], HasSubstr("undefined symbol: TarvaniDSOVersion"));
}

TEST_F(PluginCommands, AFunctionIsLookedForInEach) {
    put("kept", "a/fs/x.dll");
    put("recorder", "b/fs/x.dll");
    put("recorder", "u/y.dll");
    put("kept", "u/x.dll");
    const Words found = lines({"plugins", "--function", "record"});
    ASSERT_EQ(found.size(), 4u) << testing::PrintToString(found);
    EXPECT_THAT(found[0], HasSubstr("without\t9.0\t./a/fs/x.dll\tno such function: "));
    EXPECT_THAT(found[0], HasSubstr("undefined symbol: record"));
    EXPECT_EQ(found[1], "loaded\t9.0\t./b/fs/x.dll");
    EXPECT_EQ(found[2], "loaded\t9.0\t./u/y.dll");
    EXPECT_THAT(found[3], HasSubstr("without\t9.0\t./u/x.dll\t"));
    EXPECT_EQ(printed({"plugins", "--function", "record", "--json"}).substr(0, 10), "[{\"path\":\"");
}

TEST_F(PluginCommands, WhatAPluginServesIsAPathLikeOthers) {
    put("kept", "a/fs/kept.dll");
    EXPECT_EQ(printed({"cat", "kept:who"}), dir_.path("a/fs/kept.dll"));
    EXPECT_EQ(printed({"ls", "kept:"}), "http://kept/\nkept:who\n");
    EXPECT_THAT(printed({"stat", "kept:who"}), HasSubstr("modified: 1000\n"));
    EXPECT_EQ(printed({"cp", "-", "kept:new"}, {.input = "x"}), "");
    EXPECT_EQ(printed({"cp", "kept:who", "copy"}), "");
    EXPECT_EQ(dir_.read("copy"), dir_.path("a/fs/kept.dll"));
    EXPECT_THAT(failure({"cat", "kept:none"}), HasSubstr("tarvani: kept:none: "));
}
