// A catalogue: its versions, and the file that rows of it may lie in.
#pragma once

#include <vectable/catalogue.h>

#include "catalogue/snapshot.h"
#include "catalogue/versions.h"

// Every one is known to the process, so that a fork leaves it whole to the child.
struct VecCatalogue {
    VecCatalogue();
    VecCatalogue(const VecCatalogue&) = delete;
    VecCatalogue& operator=(const VecCatalogue&) = delete;
    ~VecCatalogue();

    VecTableCatalogue::Mapping mapping;
    mutable VecTableCatalogue::Versions versions;

    VecCatalogue* next = nullptr;  // in the list of all
    VecCatalogue* previous = nullptr;
};
