#include "report/Report.h"

#include "report/Driver.h"
#include "trevik/Statistics.h"
#include "trevik/kelvo/MemoryTracer.h"

#include <nlohmann/json.hpp>

#include <cstdio>
#include <string>
#include <vector>

namespace kelvokit::player {

using nlohmann::ordered_json;
using trevik::ScopeCounter;
using trevik::ScopeFrameTimes;
using trevik::ScopeTotals;
using trevik::Statistics;
using trevik::kelvo::MemoryTracer;
using trevik::kelvo::MemoryType;

namespace {

double ToMilliseconds(unsigned long long nNanoseconds) {
    return static_cast<double>(nNanoseconds) / 1e6;
}

struct Counter {
    std::string sName;
    long long nValue;
};

/** Those that have a name or have been counted. */
std::vector<Counter> GetCounters() {
    std::vector<Counter> counters;
    for (unsigned int nID = 0; nID < Statistics::MaximumStats; ++nID) {
        char const* const pName = Statistics::GetStatName(nID);
        long long const nValue = Statistics::Instance().GetStat(nID);
        if (pName || nValue != 0) {
            counters.push_back({pName ? pName : "unnamed counter " + std::to_string(nID), nValue});
        }
    }
    return counters;
}

struct Scope {
    std::string sName;
    ScopeTotals totals;
    unsigned long long nFirst;
    ScopeFrameTimes others;
};

/** Those that have been run through. */
std::vector<Scope> GetScopes(FrameFigures const& figures) {
    std::vector<Scope> scopes;
    for (unsigned int nID = 0; nID < ScopeCounter::MaximumIds; ++nID) {
        ScopeTotals const totals = figures.GetTotals(nID);
        char const* const pName = ScopeCounter::GetName(nID);
        if (totals.nCalls != 0) {
            scopes.push_back({pName ? pName : "unnamed scope " + std::to_string(nID), totals,
                              figures.GetFirst(nID), figures.GetOthers(nID)});
        }
    }
    return scopes;
}

double GetPerFrame(ScopeTotals const& totals, FrameFigures const& figures) {
    return static_cast<double>(totals.nCalls) / figures.GetFrames();
}

/** What the scene has in memory, by kind, for a person and in one word. */
struct MemoryKind {
    MemoryType::Enum type;
    char const* pName;
    char const* pKey;
};
constexpr MemoryKind MemoryKinds[] = {
    {MemoryType::Object, "nodes and other objects", "objects"},
    {MemoryType::Text, "texts", "texts"},
    {MemoryType::Geometry, "vertices and indices", "geometry"},
    {MemoryType::Texture, "textures, beside GL's", "textures"},
    {MemoryType::Font, "fonts", "fonts"},
    {MemoryType::Property, "animations", "animations"},
};

void PrintFrames(Report const& report) {
    FrameFigures const& figures = report.figures;
    ScopeFrameTimes const others = figures.GetOthers(ScopeCounter::Frame);
    std::printf("\nfirst frame %.2f ms", ToMilliseconds(figures.GetFirst(ScopeCounter::Frame)));
    if (figures.GetFrames() == 2) {
        std::printf("; the other %.2f ms", ToMilliseconds(others.nMedian));
    } else if (figures.GetFrames() > 2) {
        std::printf("; the other %u: median %.2f ms, p95 %.2f ms, p99 %.2f ms", figures.GetFrames() - 1,
                    ToMilliseconds(others.nMedian), ToMilliseconds(others.nPercentile95),
                    ToMilliseconds(others.nPercentile99));
    }
    std::printf("\n");
    if (report.nPictures > 0) {
        std::printf(
            "The time of a frame includes reading it back and writing or comparing its picture, for %u of "
            "%u.\n",
            report.nPictures, figures.GetFrames());
    }
}

void PrintDrawn(FrameFigures const& figures) {
    std::printf("\n%-28s %12s %12s %12s %12s\n", "a frame's number of", "first frame", "median", "largest",
                "all frames");
    for (DrawnCount const& count : AllDrawnCounts) {
        FrameFigures::Spread const spread = figures.GetSpread(count.pCount);
        std::printf("%-28s %12llu %12llu %12llu %12llu\n", count.pName, spread.nFirst, spread.nMedian,
                    spread.nLargest, spread.nTotal);
    }
}

void PrintMemory(MemoryTracer const& memory) {
    std::printf("\n%-28s %12s %12s\n", "the scene's memory", "bytes", "blocks");
    for (MemoryKind const& kind : MemoryKinds) {
        std::printf("%-28s %12llu %12u\n", kind.pName, memory.GetBytes(kind.type),
                    memory.GetAllocationCount(kind.type));
    }
}

void PrintScopes(FrameFigures const& figures) {
    std::printf("\n%-28s %9s %9s %9s %9s %9s %9s %9s\n", "scope", "calls", "per frame", "total ms",
                "first ms", "median ms", "p95 ms", "p99 ms");
    for (Scope const& scope : GetScopes(figures)) {
        std::printf("%-28s %9llu %9.1f %9.2f %9.3f %9.3f %9.3f %9.3f\n", scope.sName.c_str(),
                    scope.totals.nCalls, GetPerFrame(scope.totals, figures),
                    ToMilliseconds(scope.totals.nNanoseconds), ToMilliseconds(scope.nFirst),
                    ToMilliseconds(scope.others.nMedian), ToMilliseconds(scope.others.nPercentile95),
                    ToMilliseconds(scope.others.nPercentile99));
    }
    std::printf(
        "A frame's time in a scope; median, p95 and p99 are of all frames but the first. A driver may\n"
        "put drawing off until something waits for it, such as \"present\" or reading back: then the\n"
        "time is found there, and not where the drawing was asked for; --explain has the driver finish\n"
        "each node.\n");
}

void AddFrames(FrameFigures const& figures, ordered_json& json) {
    ScopeFrameTimes const others = figures.GetOthers(ScopeCounter::Frame);
    json["firstFrame"] = {{"milliseconds", ToMilliseconds(figures.GetFirst(ScopeCounter::Frame))}};
    json["otherFrames"] = nullptr;
    if (figures.GetFrames() > 1) {
        json["otherFrames"] = {{"medianMilliseconds", ToMilliseconds(others.nMedian)},
                               {"p95Milliseconds", ToMilliseconds(others.nPercentile95)},
                               {"p99Milliseconds", ToMilliseconds(others.nPercentile99)}};
    }
}

ordered_json DescribeDrawn(FrameFigures const& figures) {
    ordered_json json = ordered_json::object();
    for (DrawnCount const& count : AllDrawnCounts) {
        FrameFigures::Spread const spread = figures.GetSpread(count.pCount);
        json[count.pKey] = {{"firstFrame", spread.nFirst},
                            {"median", spread.nMedian},
                            {"largest", spread.nLargest},
                            {"total", spread.nTotal}};
    }
    return json;
}

ordered_json DescribeMemory(MemoryTracer const& memory) {
    ordered_json json = ordered_json::object();
    for (MemoryKind const& kind : MemoryKinds) {
        json[kind.pKey] = {{"bytes", memory.GetBytes(kind.type)},
                           {"blocks", memory.GetAllocationCount(kind.type)}};
    }
    return json;
}

ordered_json DescribeScopes(FrameFigures const& figures) {
    ordered_json json = ordered_json::object();
    for (Scope const& scope : GetScopes(figures)) {
        json[scope.sName] = {{"calls", scope.totals.nCalls},
                             {"callsPerFrame", GetPerFrame(scope.totals, figures)},
                             {"totalMilliseconds", ToMilliseconds(scope.totals.nNanoseconds)},
                             {"firstFrameMilliseconds", ToMilliseconds(scope.nFirst)},
                             {"medianMilliseconds", ToMilliseconds(scope.others.nMedian)},
                             {"p95Milliseconds", ToMilliseconds(scope.others.nPercentile95)},
                             {"p99Milliseconds", ToMilliseconds(scope.others.nPercentile99)}};
    }
    return json;
}

} // namespace

void PrintFigures(Report const& report) {
    MemoryTracer memory;
    memory.EmitObject(report.pScene);
    PrintFrames(report);
    if (report.fCounted) {
        PrintDrawn(report.figures);
    }
    PrintMemory(memory);
    std::printf("\n%-28s %12s\n", "counter", "bytes");
    for (Counter const& counter : GetCounters()) {
        std::printf("%-28s %12lld\n", counter.sName.c_str(), counter.nValue);
    }
    PrintScopes(report.figures);
}

void PrintJson(Report const& report) {
    MemoryTracer memory;
    memory.EmitObject(report.pScene);
    ordered_json json = DescribeDriver();
    json["frames"] = report.figures.GetFrames();
    json["pictures"] = report.nPictures;
    AddFrames(report.figures, json);
    json["drawn"] = report.fCounted ? DescribeDrawn(report.figures) : ordered_json(nullptr);
    json["memory"] = DescribeMemory(memory);
    json["counters"] = ordered_json::object();
    for (Counter const& counter : GetCounters()) {
        json["counters"][counter.sName] = counter.nValue;
    }
    json["scopes"] = DescribeScopes(report.figures);
    // A driver's names may be in any encoding.
    std::printf("%s\n", json.dump(2, ' ', false, ordered_json::error_handler_t::replace).c_str());
}

} // namespace kelvokit::player
