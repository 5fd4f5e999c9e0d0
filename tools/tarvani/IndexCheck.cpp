// index check: what is wrong with containers.
#include <indexfile/FS_IndexCheck.h>
#include <stream/FS_Reader.h>

#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Explain.h"
#include "Json.h"

namespace {

std::string numbered(std::int64_t count, const char* one, const char* many) {
    return std::to_string(count) + ' ' + (count == 1 ? one : many);
}

void print(const std::string& path, const FS_IndexCheck& check) {
    StandardOutput& out = standardOutput();
    for (const FS_IndexCheck::Fault& fault : check.getFaults())
        out.writeName(fault.path + ": " + fault.text), out.write("\n");
    const std::int64_t untold = check.getFaultCount() - static_cast<std::int64_t>(check.getFaults().size());
    if (untold > 0) out.writeName(path + ": " + numbered(untold, "more fault", "more faults"));
    if (check.isWhole()) out.writeName(path + ": whole, " + numbered(check.getNumSections(), "section", "sections"));
    if (check.getUnusedBytes() > 0)
        out.write("; " + numbered(check.getUnusedBytes(), "byte belongs", "bytes belong") + " to no section");
    if (untold > 0 || check.isWhole()) out.write("\n");
}

nlohmann::ordered_json asObject(const std::string& path, const FS_IndexCheck& check) {
    auto faults = nlohmann::ordered_json::array();
    for (const FS_IndexCheck::Fault& fault : check.getFaults())
        faults.push_back({{"path", fault.path}, {"text", fault.text}});
    return {{"path", path},
            {"whole", check.isWhole()},
            {"sections", check.getNumSections()},
            {"unused", check.getUnusedBytes()},
            {"count", check.getFaultCount()},
            {"faults", std::move(faults)}};
}

int check(const std::vector<std::string>& paths, bool nested, bool asJson) {
    bool allWhole = true;
    auto results = nlohmann::ordered_json::array();
    const int status = forEach(paths, [&](const std::string& path) {
        if (!FS_Reader(path.c_str()).isGood()) throw Failure{path, whyUnreadable(path)};
        const FS_IndexCheck check(path.c_str(), nested);
        allWhole = allWhole && check.isWhole();
        if (asJson)
            results.push_back(asObject(path, check));
        else
            print(path, check);
    });
    if (asJson) writeJson(results);
    return allWhole ? status : 1;
}

}  // namespace

Action declareIndexCheck(CLI::App& app) {
    const auto nested = addFlag(app, "-r,--nested", "check containers in containers, too");
    const auto asJson = addFlag(app, "--json", "one array with an object for each FILE");
    const auto paths = addTexts(app, "FILE", 1, "a container");
    return [=] { return check(*paths, *nested, *asJson); };
}
