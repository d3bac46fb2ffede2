#include <vectable/vectable.h>

#include "text.h"
#include "times.h"
#include "writers.h"

namespace Vectab {
namespace {

std::string FrameKeyword(std::int32_t frame) {
    if (frame == VEC_TAB_FRAME_ECI) return "TEME";
    if (frame == VEC_TAB_FRAME_J2K) return "EME2000";
    return frame == VEC_TAB_FRAME_ECR ? "ITRF2000" : "";
}

// With as many decimals as it takes to read the same number of days; empty when none do.
std::string EpochText(double ds50UTC) {
    for (const int decimals : {3, 6, 9, 12}) {
        std::string text = FormatUtc(ds50UTC, 'T', decimals);
        if (ReadDate(text) == ds50UTC) return text;
    }
    return {};
}

std::string Refusal(const Table& table) {
    if (FrameKeyword(table.record.frame).empty())
        return "OEM has no name for the frame " + FrameName(table.record.frame);
    if (!table.survey.HasVelocities()) return "OEM has no points without velocities";
    return {};
}

bool HoldsTime(const Table& /*table*/, double ds50UTC) {
    return !EpochText(ds50UTC).empty();
}

std::vector<std::string> Losses(const Table& table, const std::string& /*out*/) {
    const Record& record = table.record;
    std::vector<std::string> losses;
    if (record.frame == VEC_TAB_FRAME_ECR) losses.emplace_back("which Earth-fixed frame it is (ITRF2000 is written)");
    if (record.satName.size() == VEC_TAB_SAT_NAME_LENGTH) losses.emplace_back("OBJECT_ID after 8 characters");
    if (table.survey.withCovariance > 0 && record.format != kOemFormat) {
        losses.emplace_back("the units of the covariances (OEM means km and s)");
    }
    if (table.survey.withScalar > 0) losses.emplace_back("the single number of each point");
    if (AnyRevolution(table.survey)) losses.emplace_back("revolution numbers");
    return losses;
}

void WriteHead(Output& output) {
    output.Write("CCSDS_OEM_VERS = 2.0\nCREATION_DATE = " + FormatUtc(Now(), 'T', 0) + "\nORIGINATOR = vectab\n");
}

std::string Metadata(const Record& record, const Answers& answers) {
    const std::string satellite = std::to_string(record.satNum);
    const bool known = record.satNum != VEC_TAB_UNKNOWN_SAT_NUM;
    return "\nMETA_START\nOBJECT_NAME = " + (record.name.empty() ? satellite : record.name) +
           "\nOBJECT_ID = " + (known || record.satName.empty() ? satellite : record.satName) +
           "\nCENTER_NAME = EARTH\nREF_FRAME = " + FrameKeyword(record.frame) +
           "\nTIME_SYSTEM = UTC\nSTART_TIME = " + EpochText(answers.start) + "\nSTOP_TIME = " + EpochText(answers.end) +
           "\nINTERPOLATION = HERMITE\nINTERPOLATION_DEGREE = " + std::to_string(2 * VEC_TAB_STENCIL_POINTS - 1) +
           "\nMETA_STOP\n\n";
}

void WriteCovariance(Output& output, const Answer& answer) {
    output.Write("EPOCH = " + EpochText(answer.state.ds50UTC) + '\n');
    std::size_t term = 0;
    for (int row = 0; row < 6; ++row) {
        std::string line;
        for (int column = 0; column <= row; ++column)
            line += (column > 0 ? " " : "") + Shortest(answer.covariance[term++]);
        output.Write(line + '\n');
    }
}

void WriteTable(Output& output, const Table& table, const Answers& answers) {
    output.Write(Metadata(table.record, answers));
    answers.forEach([&](const Answer& answer) {
        std::string line = EpochText(answer.state.ds50UTC);
        for (const double component : answer.state.pos) line += ' ' + Shortest(component);
        for (const double component : answer.state.vel) line += ' ' + Shortest(component);
        output.Write(line + '\n');
    });
    if (table.survey.withCovariance == 0) return;
    output.Write("\nCOVARIANCE_START\n");
    answers.forEach([&](const Answer& answer) { WriteCovariance(output, answer); });
    output.Write("COVARIANCE_STOP\n");
}

}  // namespace

const Writer kOemWriter = {"oem", ".oem", Refusal, HoldsTime, Losses, WriteHead, WriteTable};

}  // namespace Vectab
