#include "explain/Explanation.h"
#include "explain/NodeWarnings.h"
#include "scene/NodeDescription.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace kelvokit::player {

using trevik::kelvo::assets::DescribeNode;
using trevik::kelvo::assets::SceneNotes;
using trevik::kelvo::assets::SceneOrigin;
using trevik::kelvo::assets::SceneWarning;

namespace {

constexpr std::size_t LabelWidth = 37;

__attribute__((format(printf, 2, 3))) void Append(std::string& text, char const* pFormat, ...) {
    char line[256];
    va_list arguments;
    va_start(arguments, pFormat);
    std::vsnprintf(line, sizeof line, pFormat, arguments);
    va_end(arguments);
    text += line;
}

/** How many bytes the first characters of a text take, in UTF-8; with fewer characters, all. */
std::size_t GetLength(std::string const& text, std::size_t nCharacters) {
    std::size_t nAt = 0;
    for (; nAt < text.size(); ++nAt) {
        bool const fBegins = (static_cast<unsigned char>(text[nAt]) & 0xc0) != 0x80;
        if (fBegins && nCharacters-- == 0) {
            break;
        }
    }
    return nAt;
}

/** At most so many characters, the last one of a text that is cut a tilde. */
std::string Cut(std::string const& text, std::size_t nCharacters) {
    return GetLength(text, nCharacters) == text.size()
               ? text
               : text.substr(0, GetLength(text, nCharacters - 1)) + "~";
}

/** With spaces up to so many characters. */
std::string Fill(std::string const& text, std::size_t nCharacters) {
    std::size_t nPresent = 0;
    while (GetLength(text, nPresent) < text.size()) {
        ++nPresent;
    }
    return text + std::string(nCharacters - std::min(nPresent, nCharacters), ' ');
}

double ToKiB(unsigned long long nBytes) {
    return static_cast<double>(nBytes) / 1024;
}

double GetTimes(Cost const& cost) {
    return cost.nCovered > 0 ? static_cast<double>(cost.nWritten) / static_cast<double>(cost.nCovered) : 0;
}

double GetPercent(double rPart, double rWhole) {
    return rWhole > 0 ? 100 * rPart / rWhole : 0;
}

void AppendHead(std::string& text, Explanation const& explanation) {
    Cost const& sum = explanation.costs.GetNodes().front().sum;
    FrameTimes const& times = explanation.times;
    Overdraw const& overdraw = explanation.overdraw;
    text += "frame       " + std::to_string(explanation.nFrame) + " of " + explanation.scene + ", " +
            std::to_string(explanation.nWidth) + "x" + std::to_string(explanation.nHeight) + " pixels\n";
    text += "drawn with  " + explanation.renderer + "\n";
    Append(text, "update      %.3f ms\n", times.rUpdate);
    Append(text, "render      %.3f ms from one glFinish to another; with one after each part %.3f ms\n",
           times.rRender, times.rInParts);
    Append(text, "            (medians of %u drawings; less %.3f ms for each glFinish below)\n",
           times.nDrawings, times.rFinish);
    Append(text, "calls       %llu of GL: %llu draws with %llu triangles; changes: %llu of program,\n",
           sum.counts.nCalls, sum.counts.nDraws, sum.counts.nTriangles, sum.counts.nProgramChanges);
    Append(text, "            %llu of texture, %llu of blend state; set what was set: %llu, %llu and %llu\n",
           sum.counts.nTextureChanges, sum.counts.nBlendChanges, sum.counts.nProgramRepetitions,
           sum.counts.nTextureRepetitions, sum.counts.nBlendRepetitions);
    Append(text, "surface     each pixel is written %.2f times in the mean; most, at %d,%d, %u times\n",
           overdraw.rMean, overdraw.nMostX, overdraw.nMostY, overdraw.nMost);
    if (sum.nOffScreen > 0) {
        Append(text, "off screen  %llu pixels written in targets of effects\n", sum.nOffScreen);
    }
    if (explanation.nUnmeasuredDraws > 0) {
        Append(text, "            the pixels of %u draws could not be counted on this driver\n",
               explanation.nUnmeasuredDraws);
    }
    Append(text, "memory      %.1f KiB of textures, %.1f KiB of fonts\n", ToKiB(sum.nTextures),
           ToKiB(sum.nFonts));
}

void AppendDearest(std::string& text, Explanation const& explanation, SceneNotes const& notes) {
    std::vector<NodeCost> const& nodes = explanation.costs.GetNodes();
    Cost const& all = nodes.front().sum;
    text += "\nDearest by time, themselves\n      ms       %\n";
    for (std::size_t const nNode : FindDearestByTime(explanation.costs)) {
        double const rTime = nodes[nNode].itself.rUpdate + nodes[nNode].itself.rRender;
        Append(text, "%8.3f  %6.1f  ", rTime, GetPercent(rTime, all.rUpdate + all.rRender));
        text += DescribeNode(*nodes[nNode].pNode, notes) + "\n";
    }
    text += "\nDearest by pixels, themselves\n written       %\n";
    for (std::size_t const nNode : FindDearestByPixels(explanation.costs)) {
        unsigned long long const nWritten = nodes[nNode].itself.nWritten;
        Append(text, "%8llu  %6.1f  ", nWritten,
               GetPercent(static_cast<double>(nWritten), static_cast<double>(all.nWritten)));
        text += DescribeNode(*nodes[nNode].pNode, notes) + "\n";
    }
}

void AppendRow(std::string& text, std::string const& label, Cost const& cost) {
    counting::Counts const& counts = cost.counts;
    text += Fill(Cut(label, LabelWidth), LabelWidth);
    Append(text, " %5llu %6llu %6llu %4llu %4llu %5llu %8llu %8llu %5.2f %7.1f %6.3f %7.3f\n", counts.nDraws,
           counts.nCalls, counts.nTriangles, counts.nProgramChanges, counts.nTextureChanges,
           counts.nBlendChanges, cost.nCovered, cost.nWritten, GetTimes(cost),
           ToKiB(cost.nTextures + cost.nFonts), cost.rUpdate, cost.rRender);
}

/** The line that a node stands on; where that is in another file than the scene's own, with its name. */
std::string GetLine(SceneOrigin const& origin, std::string const& scene) {
    std::string const& file = origin.sFile;
    return (file == scene ? " :" : " " + file.substr(file.rfind('/') + 1) + ":") +
           std::to_string(origin.nLine);
}

void AppendTree(std::string& text, Explanation const& explanation, SceneNotes const& notes) {
    text += "\nAll nodes, each with all below it\n" + Fill("", LabelWidth);
    Append(text, "%6s%7s%7s%5s%5s%6s%9s%9s%6s%8s%7s%8s\n", "draws", "calls", "trian.", "prog", "tex", "blend",
           "covered", "written", "times", "KiB", "update", "render");
    std::vector<NodeCost> const& nodes = explanation.costs.GetNodes();
    auto const warnings = FindWarnings(explanation.costs, notes);
    for (std::size_t nNode = 0; nNode < nodes.size(); ++nNode) {
        NodeCost const& cost = nodes[nNode];
        std::string const indent(2 * cost.nDepth, ' ');
        SceneOrigin const* const pOrigin = notes.Find(*cost.pNode);
        std::string const line = pOrigin ? GetLine(*pOrigin, explanation.scene) : std::string();
        std::string const label = indent + DescribeNode(*cost.pNode);
        AppendRow(text, Cut(label, LabelWidth - std::min(line.size(), LabelWidth)) + line, cost.sum);
        for (SceneWarning const* const pWarning : warnings[nNode]) {
            text += indent + "  warning [" + GetWarningKind(pWarning->id).pName + "]\n";
        }
        if (cost.nEnd > nNode + 1 && cost.itself.counts.nCalls > 0) {
            AppendRow(text, indent + "  (itself)", cost.itself);
        }
    }
    text += "prog, tex, blend: changes of program, texture and blend state. times: written by covered. KiB: "
            "textures\n"
            "and fonts; what nodes share counts for each of them, and once above them. update, render: "
            "milliseconds.\n";
}

} // namespace

std::string ToText(Explanation const& explanation, SceneNotes const& notes) {
    std::string text;
    AppendHead(text, explanation);
    AppendDearest(text, explanation, notes);
    AppendTree(text, explanation, notes);
    return text;
}

} // namespace kelvokit::player
