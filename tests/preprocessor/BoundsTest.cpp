// Input without an end in sight: each has its outcome, in bounded memory. cases/bounds.cases has the limits of the
// language.
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <new>

#include "../support/Child.h"
#include "../support/ScratchDir.h"
#include "Sources.h"

namespace {

// Peak memory of the process in bytes while `work` runs in a child, which must succeed.
bool staysBelow(rlim_t bytes, const std::function<bool()>& work) {
#if defined(__SANITIZE_ADDRESS__)
    (void)bytes;  // it reserves terabytes
    return work();
#else
    return inChild([&] {
               const rlimit limit{bytes, bytes};
               return ::setrlimit(RLIMIT_AS, &limit) == 0 && work();
           }) == 0;
#endif
}

TEST(Bounds, MemoryFollowsTheLongestLineAndNotTheInput) {
    constexpr rlim_t kMegabyte = 1u << 20;
    const std::string name = repeated("n", 3000), text = repeated("a \"b\" ", (16u << 20) / 6) + "X";
    const struct {
        rlim_t memory;
        int count;
        std::function<void(UT_WorkBuffer& line, int at)> make;
    } inputs[] = {
        {200 * kMegabyte, 2, [&](UT_WorkBuffer& line, int at) { line.assign(at == 0 ? "#define X yes" : text); }},
        {64 * kMegabyte, 300'000,
         [](UT_WorkBuffer& line, int at) {
             line.assign(at % 3 == 0 ? "#define X Y(1) /* and" : at % 3 == 1 ? "so on */ X __LINE__" : "'plain' text");
         }},
        {64 * kMegabyte, 15'000,
         [&](UT_WorkBuffer& line, int at) { line.sprintf("#sinclude \"%s%d\"", name.c_str(), at); }},
    };
    for (const auto& input : inputs) {
        EXPECT_TRUE(staysBelow(input.memory, [&] {
            MadeManager manager([&, at = 0](UT_WorkBuffer& line) mutable {
                input.make(line, at);
                return at++ < input.count;
            });
            manager.define("Y(a)", "[a]");
            int count = 0;
            for (std::string_view line; manager.getLine(line);) ++count;
            return count == input.count && !manager.hasError();
        })) << input.count;
    }
}

TEST(Bounds, ALineThatMemoryCannotHoldIsNotTakenForTheEnd) {
    const ScratchDir dir;
    const std::string main = dir.write("main.c", "");
    std::filesystem::resize_file(main, 256u << 20);  // a single line of NULs
    EXPECT_TRUE(staysBelow(100u << 20, [&] {
        CPP_Manager manager;
        leaveMarkersOut(manager);
        manager.open(main.c_str(), 0);
        try {
            std::string_view line;
            return manager.getLine(line) == 1;
        } catch (const std::bad_alloc&) {
            return true;
        }
    }));
}

TEST(Bounds, AMillionFilesAreIncludedAndNoMore) {
    const ScratchDir dir;
    const std::string line = "#include \"" + dir.write("x", "") + "\"";
    // The included file ends at once, and what includes it goes on.
    MadeManager manager([&, asked = std::make_shared<int>(0)](UT_WorkBuffer& next) {
        next.assign(line);
        return ++*asked % 2 == 1;
    });
    const std::string error = "# error cpp error: \"main\":1000001 Unable to " + line.substr(1) + "\n\n";
    EXPECT_TRUE(restOf(manager) == std::string(1'000'000, '\n') + error);
}

TEST(Bounds, AFileThatIncludesItselfRunsOutOfFiles) {
    const ScratchDir dir;
    const std::string main = dir.write("main.c", "__LINE__\n#include \"main.c\"\nend\n");
    const std::string other = dir.write("other.c", "end\n");
    EXPECT_EQ(
        inChild([&] {
            // UndefinedBehaviorSanitizer needs a descriptor the first time that it meets a class.
            CPP_Manager first;
            if (!first.open(other.c_str(), 0) || restOf(first).empty()) return false;
            const rlimit limit{64, 64};
            if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) return false;
            CPP_Manager manager;
            leaveMarkersOut(manager);
            manager.open(main.c_str(), 0);
            const std::string output = restOf(manager);
            const std::string error = "# error cpp error: \"" + main + "\":2 Unable to include \"main.c\"\n\nend\n";
            const std::size_t at = output.find(error);
            // As many ends as there were beginnings.
            return at != output.npos && at % 3 == 2 && output.substr(at + error.size()) == repeated("end\n", at / 3);
        }),
        0);
}

}  // namespace
