#pragma once
// Private: puts a finished section into its container, or takes one out.
#include <platform/Outcome.h>
#include <platform/TempFile.h>

#include <string>

// The section that `path` names ("d/a?b?c": section c of the container that is section b of the file d/a) gets the
// content of the temporary file. The file is written over in one last step, when the whole new container stands in
// another temporary file; before that nothing is written to it. A container that is missing or empty is made; one that
// exists and doesn't read as a container, at any level, is refused. The temporary goes in every case.
platform::Outcome commitSection(const std::string& path, platform::TempFile content);
// The section goes out of its container. One that isn't there is no failure.
platform::Outcome removeSection(const std::string& path);
