// plugins.
#include <filesystem>

#include "../support/Environment.h"
#include "TarvaniCommand.h"

using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

class PluginCommands : public TarvaniCommand {
protected:
    // Copies of the plug-ins, each at its place: "PLUGIN PLACE".
    void put(const Words& lines) const {
        for (const std::string& line : lines) {
            const Words parts = words(line);
            dir_.write(parts[1], "");
            std::filesystem::copy_file(TARVANI_TEST_PLUGINS "/" + parts[0] + ".dll", dir_.path(parts[1]),
                                       std::filesystem::copy_options::overwrite_existing);
        }
    }

private:
    const std::string path_ = dir_.path("a") + ":" + dir_.path("b");
    const WithVariable plugins_{"TARVANI_DSO_PATH", path_.c_str()};
    const WithVariable site_{"TARVANI_SITE_DSO_PATH", dir_.path("none").c_str()};
    const WithVariable users_{"TARVANI_USER_DSO_PATH", dir_.path("u").c_str()};
};

}  // namespace

TEST_F(PluginCommands, EachIsALineInTheOrderInWhichTheyLoad) {
    dir_.write("a/fs/broken.dll", "no library");
    dir_.makeDirectory("u/directory.dll");
    put({"crashing a/fs/crash.dll", "version_longer a/fs/kept.dll", "kept b/fs/kept.dll",
         "kept u/fs/kept.dll",  // known path 1 alone has helpers
         "recorder a/fs/none.dll", "recorder b/fs/none.dll", "version_null a/fs/null.dll",
         // The libraries of all paths.
         "version_none b/x.dll", "recorder a/x.dll", "recorder a/y.dll", "recorder u/z.dll", "recorder u/.hidden.dll"});
    expect({{"plugins", MatchesRegex("refused\t-\ta/fs/broken.dll\tcan't be loaded: a/fs/broken.dll: [^\n]*\n"
                                     "refused\t-\ta/fs/crash.dll\tcrashes while it is loaded: Aborted\n"
                                     "refused\t9.0.1\ta/fs/kept.dll\tversion \"9.0.1\" should be \"9.0\"\n"
                                     "loaded\t9.0\tb/fs/kept.dll\n"
                                     "loaded\t9.0\ta/fs/none.dll\n"
                                     "shadowed\t-\tb/fs/none.dll\tby a/fs/none.dll\n"
                                     "refused\t-\ta/fs/null.dll\tits version function gives no text\n"
                                     "loaded\t9.0\tu/z.dll\n"
                                     "loaded\t9.0\ta/y.dll\n"
                                     "loaded\t9.0\ta/x.dll\n"
                                     "refused\t-\tb/x.dll\tno version function \\(#include <UT/UT_DSOVersion> gives"
                                     "[^\n]*undefined symbol: TarvaniDSOVersion[^\n]*\n")}});
}

TEST_F(PluginCommands, AFunctionIsLookedForInEach) {
    put({"kept a/fs/x.dll", "recorder b/fs/x.dll", "recorder u/y.dll", "kept u/x.dll"});
    expect({{"plugins --function record",
             MatchesRegex("without\t9.0\ta/fs/x.dll\tno such function: [^\n]*undefined symbol: record[^\n]*\n"
                          "loaded\t9.0\tb/fs/x.dll\n"
                          "loaded\t9.0\tu/y.dll\n"
                          "without\t9.0\tu/x.dll\t[^\n]*\n")},
            {"plugins --function record --json", StartsWith("[{\"path\":\"")}});
}

TEST_F(PluginCommands, WhatAPluginServesIsAPathLikeOthers) {
    put({"kept a/fs/kept.dll"});
    expect({{"cat kept:who", "a/fs/kept.dll"},
            {"ls kept:", "http://kept/x\nkept:who\n"},
            {"stat kept:who", HasSubstr("modified: 1000\n")},
            {"cp - kept:new", "", "", {.input = "x"}},
            {"cp kept:who copy"},
            {"cat copy", "a/fs/kept.dll"},
            {"cat kept:none", "", StartsWith("kept:none: ")}});
}
