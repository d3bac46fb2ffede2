// Loading files into a catalogue, on threads.
#pragma once

#include <vectable/catalogue.h>

#include <cstdint>
#include <span>

#include "catalogue/versions.h"

namespace VecTableCatalogue {

// Adds what the files hold, all in one change, in the order of the paths. `files`, one for each path, receives what
// became of it. The number of paths whose status is not 0; -1 when progress stopped it, and nothing is added.
std::int64_t LoadFiles(Versions& versions, std::span<const char* const> paths, const VecCatLoad& options,
                       std::span<VecCatFile> files);

}  // namespace VecTableCatalogue
