#pragma once
// Switches and numbers that the environment sets.
//
//     if (UT_EnvControl::getInt(UT_CONTROL_DSO_ERROR)) showFailure();
#include <UT/UT_Export.h>

// The controls by their numbers, with variable, default and meaning.
enum UT_IntControl : int {
    UT_CONTROL_DSO_ERROR = 24,              // TARVANI_DSO_ERROR, default 1: failures of plug-ins are shown
    UT_CONTROL_CPP_EXPAND_DIRECTIVES = 25,  // TARVANI_CPP_EXPAND_DIRECTIVES, default 0: macros in directives
    UT_CONTROL_FEATURES_VERBOSE = 67,       // TARVANI_FEATURES_VERBOSE, default 0: faults in feature files are shown
    UT_CONTROL_HISTORY_LENGTH = 91,         // TARVANI_HISTORY_LENGTH, default 20, from 1 to 10000: entries of a list
};

class TARVANI_EXPORT UT_EnvControl {
public:
    // The value of a control as the environment stands now: its variable as a whole number, brought into the control's
    // range. The default when the variable is missing or no number; 0 for an unknown control.
    static int getInt(UT_IntControl control);
    // The environment variable of a control, for display and help; null for an unknown one.
    static const char* getVariable(UT_IntControl control);
};
