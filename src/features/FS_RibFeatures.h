#pragma once
// The renderers that are set up on this machine, each a set of options, read once from the file ROPfeatures:
//
//     { rib.renderer.token prman  rib.renderer.label "PRMan"
//       samples 4  motion on }
//     { inherit prman  rib.renderer.token draft
//       samples 1 }
//
//     if (const UT_OptionFile* draft = FS_RibFeatures::getRenderer("draft")) use(*draft);
//
// The first question reads the first file of that name along known path 0, through the preprocessor. A definition
// stands in braces and is a list of keys and values; `rib.renderer.token` is its name and must be there,
// `rib.renderer.label` is its name for people, the same if there is none. Keys come in small letters. Values are whole
// numbers, numbers, truth values (true, on, false, off) or text. `inherit NAME` takes over what another definition,
// complete by then, says and this one has not said so far.
//
// What is wrong in the file costs its entry or its definition. The control UT_CONTROL_FEATURES_VERBOSE has each fault,
// and each definition, told on the standard error stream. A file that isn't there leaves no definitions, and isn't
// looked for again. For one thread at a time, from the first question on.
#include <UT/UT_Export.h>

class UT_OptionFile;

class TARVANI_EXPORT FS_RibFeatures {
public:
    // The options of a renderer by its token, or by its place in the order of tokens (by byte), from 0. Null if there
    // is none. They stay in the table, and may be used and changed to the end of the process.
    static UT_OptionFile* getRenderer(const char* token);
    static UT_OptionFile* getRenderer(int index);
    // The number of renderers.
    static int entries();
    // The token of the renderer to use where nobody chose one. No definition of that name need be there.
    static const char* getDefaultRenderer();

    // Objects hold nothing: this copies nothing.
    FS_RibFeatures& operator=(const FS_RibFeatures&) { return *this; }
};
