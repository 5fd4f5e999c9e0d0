// index recover: what a killed command left of a container.
#include <UT/UT_String.h>
#include <indexfile/FS_IndexFile.h>
#include <indexfile/FS_IndexRecovery.h>
#include <stream/FS_Info.h>
#include <stream/FS_Reader.h>
#include <stream/FS_ReaderStream.h>

#include <cerrno>
#include <nlohmann/json.hpp>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "IndexListing.h"
#include "Json.h"
#include "LibraryPath.h"
#include "Save.h"

namespace {

using Leftover = FS_IndexRecovery::Leftover;
using State = FS_IndexRecovery::State;

const char* word(State state) {
    switch (state) {
        case State::Ready:
            return "ready";
        case State::Same:
            return "same";
        case State::Older:
            return "older";
        case State::Unclaimed:
            return "unclaimed";
        case State::InUse:
            return "in use";
        case State::Incomplete:
            break;
    }
    return "incomplete";
}

// Without sections where it isn't whole.
std::unique_ptr<FS_IndexFile> open(const Leftover& found) {
    if (found.state == State::Incomplete || found.state == State::InUse) return std::make_unique<FS_IndexFile>();
    return std::make_unique<FS_IndexFile>(new FS_Reader(new FS_ReaderStream(found.path.c_str())));
}

void print(const Leftover& found) {
    StandardOutput& out = standardOutput();
    out.write(std::string(word(found.state)) + '\t' + std::to_string(found.size) + '\t' + std::to_string(found.time) +
              '\t');
    out.writeName(found.path);
    if (!found.fault.empty()) out.writeName(": " + found.fault);
    out.write("\n");
    printSections(*open(found), "\t");
}

void printJson(const std::string& path, const FS_IndexRecovery& recovery) {
    auto leftovers = nlohmann::ordered_json::array();
    for (const Leftover& found : recovery.getLeftovers())
        leftovers.push_back({{"path", found.path},
                             {"state", word(found.state)},
                             {"size", found.size},
                             {"modified", found.time},
                             {"fault", found.fault},
                             {"sections", sectionsAsJson(*open(found))}});
    writeJson({{"path", path}, {"fault", recovery.getFault()}, {"temporaries", std::move(leftovers)}});
}

// The one that can be meant where none is named.
const std::string& choose(const std::string& path, const FS_IndexRecovery& recovery) {
    for (const State wanted : {State::Ready, State::Same}) {
        const Leftover* chosen = nullptr;
        for (const Leftover& found : recovery.getLeftovers()) {
            if (found.state != wanted) continue;
            if (chosen != nullptr && wanted == State::Ready)
                throw Failure{path, "more than one temporary file can be put in its place; name one of them"};
            chosen = &found;
        }
        if (chosen != nullptr) return chosen->path;
    }
    throw Failure{path, "no temporary file is put in its place unless it is named"};
}

int recover(const std::string& path, const std::vector<std::string>& temporary, bool put, bool asJson) {
    const LibraryPath parts(path);
    if (!parts.isLocal || !parts.sections.empty())
        throw Failure{path, "only a local file can be recovered, and with it its sections"};
    if (FS_Info(parts.file.c_str()).getIsDirectory()) throw Failure{path, errorWords(EISDIR)};
    FS_IndexRecovery recovery(path.c_str());
    if (temporary.empty() && recovery.getLeftovers().empty()) {
        const std::string fault = recovery.getFault().empty() ? "whole" : recovery.getFault();
        throw Failure{path, fault + "; no temporary file of it in " + recovery.getDirectory()};
    }
    if (put) {
        UT_String reason;
        const std::string& chosen = temporary.empty() ? choose(path, recovery) : temporary.front();
        if (!recovery.put(chosen.c_str(), &reason)) throw Failure{path, reasonFor(path, reason.view())};
    } else if (asJson) {
        printJson(path, recovery);
    } else {
        for (const Leftover& found : recovery.getLeftovers()) print(found);
    }
    return 0;
}

}  // namespace

Action declareIndexRecover(CLI::App& app) {
    const auto put = addFlag(app, "--put", "put it in the place of FILE; without this it is only shown");
    const auto asJson =
        addFlag(app, "--json", "one object with what is wrong with FILE and an array of what was found");
    const auto path = addText(app, "FILE", "a container that was being written when a program was killed");
    const auto temporary =
        addOptionalText(app, "TEMPORARY", "with --put: the one to take, where it isn't the only one");
    addRule(app, [=]() -> std::string {
        if (!temporary->empty() && !*put) return "TEMPORARY goes with --put";
        return *put && *asJson ? "--put prints nothing, so --json can't go with it" : "";
    });
    return [=] { return recover(*path, *temporary, *put, *asJson); };
}
