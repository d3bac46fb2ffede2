#include "csv.h"
#include "text.h"
#include "times.h"
#include "writers.h"

namespace Vectab {
namespace {

std::string Refusal(const Table& /*table*/) {
    return {};
}

// The column of days has every time.
bool HoldsTime(const Table& /*table*/, double /*ds50UTC*/) {
    return true;
}

std::vector<std::string> Losses(const Table& table, const std::string& /*out*/) {
    return table.record.name.empty() ? std::vector<std::string>{} : std::vector<std::string>{"names"};
}

void WriteHead(Output& output) {
    output.Write(CsvHeader(true));
}

// A table without covariances has empty fields in their place.
void WriteTable(Output& output, const Table& table, const Answers& answers) {
    const bool covariance = table.survey.withCovariance + table.survey.withScalar > 0;
    answers.forEach([&](const Answer& answer) {
        std::string line = CsvLine(table.record, answer, covariance);
        if (!covariance) line.insert(line.size() - 1, std::string(VEC_TAB_COV_TERMS, ','));
        output.Write(line);
    });
}

}  // namespace

std::string CsvHeader(bool covariance) {
    std::string line = "satellite,frame,utc,ds50utc,x_km,y_km,z_km,vx_km_s,vy_km_s,vz_km_s,rev,note";
    for (int row = 1; covariance && row <= 6; ++row) {
        for (int column = 1; column <= row; ++column) {
            line += ",cov_" + std::to_string(row) + '_' + std::to_string(column);
        }
    }
    return line + '\n';
}

std::string CsvLine(const Record& record, const Answer& answer, bool covariance) {
    const State& state = answer.state;
    std::string line = std::to_string(record.satNum) + ',' + FrameName(record.frame) + ',' +
                       (IsInCalendar(state.ds50UTC) ? FormatUtc(state.ds50UTC, 'T', 6) + "Z," : ",") +
                       Shortest(state.ds50UTC);
    for (const double component : state.pos) line += ',' + Shortest(component);
    for (const double component : state.vel) line += ',' + Shortest(component);
    line += ',' + std::to_string(state.revNum) + ',' + std::string(answer.mark);
    for (std::size_t i = 0; covariance && i < answer.covariance.size(); ++i)
        line += ',' + Shortest(answer.covariance[i]);
    return line + '\n';
}

const Writer kCsvWriter = {"csv", ".csv", Refusal, HoldsTime, Losses, WriteHead, WriteTable};

}  // namespace Vectab
