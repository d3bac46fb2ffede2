// The mark of operations that the shared library exports as C++ symbols.
#pragma once

#define VECTABLE_MODULE __attribute__((visibility("default")))
