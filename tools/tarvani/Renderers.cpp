// renderers.
#include <UT/UT_OptionFile.h>
#include <UT/UT_PathSearch.h>
#include <UT/UT_String.h>
#include <features/FS_RibFeatures.h>

#include <cstdlib>

#include "Arguments.h"
#include "Command.h"
#include "Console.h"
#include "Json.h"

namespace {

std::string textOf(const UT_OptionFile& options, const char* key) {
    UT_String text;
    options.getOption(key, text, "");
    return std::string(text.view());
}

nlohmann::ordered_json valueOf(const UT_OptionFile& options, const char* key) {
    const std::string text = textOf(options, key);
    switch (options.getOptionType(key)) {
        case UT_OptionFile::INT:
            return std::atoi(text.c_str());
        case UT_OptionFile::FLOAT:
            return std::strtod(text.c_str(), nullptr);
        case UT_OptionFile::BOOL:
            return text == "on";
        default:
            return text;
    }
}

nlohmann::ordered_json toJson(const UT_OptionFile& options) {
    // Appended to as the list that it is, since no name comes twice and looking for one takes the whole of it.
    nlohmann::ordered_json::object_t object;
    for (const char* name = options.getNextName(nullptr); name; name = options.getNextName(name))
        object.push_back({name, valueOf(options, name)});
    return object;
}

void printOptions(const UT_OptionFile& options) {
    for (const char* name = options.getNextName(nullptr); name; name = options.getNextName(name)) {
        standardOutput().writeName(name);
        standardOutput().write(": ");
        standardOutput().writeName(textOf(options, name));
        standardOutput().write("\n");
    }
}

// Why there is no renderer of a name.
std::string whyUnknown() {
    UT_String found;
    const UT_PathSearch& path = *UT_PathSearch::getInstance(UT_PATH_DEFAULT);
    if (!path.findFile(found, "ROPfeatures"))
        return std::string("no such renderer: there is no file ROPfeatures along the path (set ") +
               UT_PathSearch::getVariable(UT_PATH_DEFAULT) + " to look elsewhere)";
    return "no such renderer in " + std::string(found.view()) + " (\"tarvani renderers\" lists those that are)";
}

int describe(const std::string& name, bool asJson) {
    const UT_OptionFile* const options = FS_RibFeatures::getRenderer(name.c_str());
    if (!options) throw Failure{name, whyUnknown()};
    if (asJson)
        writeJson(toJson(*options));
    else
        printOptions(*options);
    return 0;
}

int list(bool asJson) {
    auto json = nlohmann::ordered_json::array();
    for (int i = 0; i < FS_RibFeatures::entries(); ++i) {
        const UT_OptionFile& options = *FS_RibFeatures::getRenderer(i);
        if (asJson) {
            json.push_back(toJson(options));
            continue;
        }
        standardOutput().writeName(textOf(options, "rib.renderer.token"));
        standardOutput().write("\t");
        standardOutput().writeName(textOf(options, "rib.renderer.label"));
        standardOutput().write("\n");
    }
    if (asJson) writeJson(json);
    return 0;
}

Action declareRenderers(CLI::App& app) {
    const auto asJson = addFlag(app, "--json", "an object with the options of NAME, or an array with one for each");
    const auto name = addOptionalText(app, "NAME", "print all options of this renderer");
    return [=] { return name->empty() ? list(*asJson) : describe(name->front(), *asJson); };
}

constexpr Subcommand kCommands[] = {
    {"renderers", "List the renderers that a site has, or describe one",
     "tarvani renderers\n"
     "tarvani renderers --json prman\n"
     "TARVANI_FEATURES_VERBOSE=1 tarvani renderers  # tell what is wrong in the file",
     declareRenderers,
     "They are what the file ROPfeatures along known path 0 defines. Prints for each its token, a tab, and its label, "
     "in order of the tokens."},
};

}  // namespace

const std::span<const Subcommand> kRendererCommands = kCommands;
