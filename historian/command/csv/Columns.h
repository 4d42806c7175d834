#pragma once

#include <string>

#include "Sample.h"

namespace historian::command {

// Decides what each named column of a layout holds, and so whether the file is wide or long. Throws a Refusal
// that begins with the path.
void FindColumns(const Sample& sample, const FileOptions& options, const std::string& path, Layout& layout);

}  // namespace historian::command
