#pragma once
// Private: what stream access gives FSloadCustomHelpers to do before any plug-in loads.

// Makes the helpers that serve http addresses, once in a process. Helpers that came last are asked first, so a
// plug-in's go before these, whichever kind of handle, or call of an application's own, is the first of the process.
void installHttpHelpers();
