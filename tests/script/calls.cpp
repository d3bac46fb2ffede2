#include "script/calls.h"

#include <vectable/host.h>
#include <vectable/oem.h>
#include <vectable/vectable.h>

namespace {

template <typename Result, typename... Parameters>
Call Bind(Result (*function)(Parameters...), std::vector<std::size_t> lengths = {}) {
    const auto make = [=](Words& words, const Variables& variables, const std::vector<std::string>& expected,
                          int nullPlace) {
        [[maybe_unused]] const std::size_t* length = lengths.data();
        std::tuple<Argument<Parameters>...> arguments{Argument<Parameters>(words, variables, length)...};
        const auto setNull = [&](auto& argument) {
            if constexpr (requires { argument.isNull; }) argument.isNull = nullPlace-- == 0;
        };
        constexpr bool isKey = std::is_same_v<Result, std::int64_t>;
        std::int64_t result = -1;  // of a call without one: the script tells what is left untouched
        const auto call = [&](auto&... argument) {
            (setNull(argument), ...);
            if constexpr (std::is_void_v<Result>) {
                function(argument.Pass()...);
            } else {
                result = function(argument.Pass()...);
            }
            Expected wanted(expected);
            if (!std::is_void_v<Result> || !wanted.empty()) (argument.Check(wanted, result == (isKey ? -1 : 2)), ...);
        };
        std::apply(call, arguments);
        return result;
    };
    return {make, static_cast<int>((std::is_pointer_v<Parameters> + ... + 0))};
}

}  // namespace

std::string Replaced(std::string text, const Variables& variables) {
    for (const auto& [name, value] : variables) {
        const std::string mark = "{" + name + "}";
        for (auto at = text.find(mark); at != std::string::npos; at = text.find(mark)) {
            text.replace(at, mark.size(), value);
        }
    }
    return text;
}

std::string TakeWord(Words& words, const Variables& variables) {
    std::string word;
    words >> std::quoted(word);
    return Replaced(word, variables);
}

const std::map<std::string, Call>& CallsByName() {
    static const std::map<std::string, Call> calls = {
        {"Init", Bind(VecTabInit)},
        {"GetInfo", Bind(VecTabGetInfo, {128})},
        {"FieldsToSatKey", Bind(VecTabFieldsToSatKey)},
        {"GetCount", Bind(VecTabGetCount)},
        {"GetLoaded", Bind(VecTabGetLoaded, {32})},
        {"RemoveSat", Bind(VecTabRemoveSat)},
        {"RemoveAllSats", Bind(VecTabRemoveAllSats)},
        {"GetSatKey", Bind(VecTabGetSatKey)},
        {"AddSat", Bind(VecTabAddSat)},
        {"AddSatEphem", Bind(VecTabAddSatEphem)},
        {"AddSatEphemCovMtx", Bind(VecTabAddSatEphemCovMtx)},
        {"AddSatEphemExt", Bind(VecTabAddSatEphemExt)},
        {"GetAllFields", Bind(VecTabGetAllFields, {1, 8, 128, 1, 1, 1, 3, 3, 1, 1, 512})},
        {"GetField", Bind(VecTabGetField, {512})},
        {"SetField", Bind(VecTabSetField)},
        {"StartEndTime", Bind(VecTabStartEndTime, {1, 1})},
        {"GetEphemeris", Bind(VecTabGetEphemeris, {1, 3, 3, 1})},
        {"GetCovMtx", Bind(VecTabGetCovMtx, {1, 3, 3, 1, 36})},
        {"Mse", Bind(VecTabMse, {1, 3, 3, 1})},
        {"MseCovMtx", Bind(VecTabMseCovMtx, {1, 3, 3, 1, 36})},
        {"Ds50UTC", Bind(VecTabDs50UTC, {1, 3, 3, 1})},
        {"Ds50UTCCovMtx", Bind(VecTabDs50UTCCovMtx, {1, 3, 3, 1, 36})},
        {"Xten", Bind(VecTabXten, {128})},
        {"LoadFile", Bind(VecTabLoadFile)},
        {"AddSatFrFile", Bind(VecTabAddSatFrFile)},
        {"OemLoadFile", Bind(VecOemLoadFile, {4, 1})},
        {"SaveFile", Bind(VecTabSaveFile)},
        {"GetLine", Bind(VecTabGetLine, {512})},
        {"SetUseAllKeyMode", Bind(VecHostSetUseAllKeyMode)},
        {"SetAllKeyMode", Bind(VecHostSetAllKeyMode)},
        {"SetElsetKeyMode", Bind(VecHostSetElsetKeyMode)},
        {"SetDupKeyMode", Bind(VecHostSetDupKeyMode)},
        {"TraceToFile", Bind(VecHostTraceToFile)},
        {"EntryKind", Bind(VecHostEntryKind)},
        {"ReadingLine", Bind(VecHostReadingLine, {512, 1})},
        {"TakeKeys", Bind(VecHostTakeKeys, {4})},
        {"HostGetLoaded", Bind(VecHostGetLoaded, {4})},
        {"TakeEntry", Bind(VecHostTakeEntry, {1, 8, 512, 1})},
        {"GetFileFormat", Bind(VecHostGetFileFormat, {VEC_HOST_FORMAT_LENGTH, 1})},
        {"FindListed", Bind(VecHostFindListed, {1})},
        {"TakeListed", Bind(VecHostTakeListed, {4, 1})},
        {"GetFormat", Bind(VecHostGetFormat, {VEC_HOST_FORMAT_LENGTH})},
        {"FrameName", Bind(VecHostFrameName, {VEC_HOST_FRAME_NAME_LENGTH})},
        {"TimeOfText", Bind(VecHostTimeOfText, {1})}};
    return calls;
}
