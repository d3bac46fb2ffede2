#include "tables.h"

#include "failure.h"
#include "text.h"

namespace Vectab {

Table::Table(const LoadedFile& loaded, const Record& chosen)
    : file(loaded), record(chosen), survey(SurveyOf(chosen)), notes(NotesOn(chosen, survey)) {}

void Table::Warn() const {
    for (const Note& note : notes) {
        if (note.detail.empty()) continue;
        Complain(file.Label(record) + ": " + note.message + ": " + note.detail);
    }
}

int ForEachTable(const Inputs& inputs, const std::function<void(const Table&)>& work) {
    std::string refused;
    bool any = false;
    bool warned = false;
    int exitStatus = ForEachFile(inputs.files, inputs.verbose, [&](const LoadedFile& file) {
        bool anyHere = false;
        for (const Record& record : file.Records()) {
            if (!inputs.choice.Fits(record)) continue;
            anyHere = true;
            const Table table(file, record);
            table.Warn();
            warned |= !table.notes.empty();
            work(table);
        }
        any |= anyHere;
        if (!anyHere) refused = file.WhatThereIs() + ": none is the one asked for";
    });
    if (!any && !refused.empty()) throw Failure(refused, kExitUsage);
    if (inputs.strict && warned) exitStatus = kExitFailure;
    return exitStatus;
}

}  // namespace Vectab
