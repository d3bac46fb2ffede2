#include "notes.h"

#include <vectable/vectable.h>

#include <algorithm>

#include "accuracy.h"
#include "text.h"
#include "times.h"

namespace Vectab {
namespace {

Note FewPoints(const Survey& survey) {
    return {std::string(kFewPoints), "states between points take four, and there " +
                                         std::string(survey.points.size() == 1 ? "is " : "are ") +
                                         std::to_string(survey.points.size())};
}

std::string Length(double metres) {
    return metres < 1000.0 ? FourDigits(metres) + " m" : FourDigits(metres / 1000.0) + " km";
}

Note NoVelocities(const Record& record, const Survey& survey) {
    const ErrorEstimate estimate = EstimateErrors(record, survey);
    const std::string off = estimate.Any() ? "off by up to " + Length(estimate.LargestPosition()) + " (estimated)"
                                           : std::string("of no use");
    return {std::string(kNoVelocities), "all are zero; states between points are " + off};
}

Note SomeVelocitiesZero(const Survey& survey) {
    const bool one = survey.withoutVelocity == 1;
    return {one ? "1 zero velocity" : std::to_string(survey.withoutVelocity) + " zero velocities",
            "states around such points are of no use"};
}

// The longest of gaps, and what becomes of states inside.
std::string DescribeGaps(const std::vector<Gap>& gaps) {
    const Gap& longest = *std::ranges::max_element(gaps, {}, &Gap::Seconds);
    const auto filled = static_cast<std::size_t>(std::ranges::count_if(gaps, &Gap::filled));
    std::string text = Fixed(longest.Seconds() / 60.0, 1) + " min from " + FormatUtc(longest.from, ' ', 3) + " to " +
                       FormatUtc(longest.to, ' ', 3);
    if (gaps.size() > 1) text = "the longest " + text;
    if (filled == 0) return text + "; no states inside";
    if (filled == gaps.size()) return text + "; states inside are not to be trusted";
    return text + "; " + std::to_string(filled) + " give states, which are not to be trusted, and the others none";
}

Note Spikes(const Survey& survey) {
    const LeftOut& largest = *std::ranges::max_element(survey.spikes, {}, &LeftOut::position);
    const std::string which = survey.spikes.size() == 1 ? "a point is " : "points are up to ";
    return {Counted(survey.spikes.size(), "spike"), which + Length(largest.position) + " off its neighbours at " +
                                                        FormatUtc(largest.ds50UTC, ' ', 3) +
                                                        ", which looks like a manoeuvre; states around are wrong"};
}

}  // namespace

std::vector<Note> NotesOn(const Record& record, const Survey& survey) {
    std::vector<Note> notes;
    if (record.points < VEC_TAB_STENCIL_POINTS) notes.push_back(FewPoints(survey));
    if (!survey.HasVelocities()) {
        notes.push_back(NoVelocities(record, survey));
    } else if (survey.withoutVelocity > 0) {
        notes.push_back(SomeVelocitiesZero(survey));
    }
    if (!survey.holes.empty()) notes.push_back({Counted(survey.holes.size(), kHole), DescribeGaps(survey.holes)});
    if (!survey.longSteps.empty()) {
        notes.push_back({Counted(survey.longSteps.size(), kLongStep), DescribeGaps(survey.longSteps)});
    }
    if (!survey.spikes.empty()) notes.push_back(Spikes(survey));
    if (record.badLines > 0) notes.push_back({Counted(record.badLines, "bad line"), ""});
    return notes;
}

std::string Listed(const std::vector<Note>& notes) {
    std::string message;
    for (const Note& note : notes) message += (message.empty() ? "" : ", ") + note.message;
    return message.empty() ? "-" : message;
}

}  // namespace Vectab
