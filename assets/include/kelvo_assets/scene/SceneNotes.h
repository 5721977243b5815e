#pragma once

#include "kelvo_assets/scene/SceneFaults.h"
#include "kelvo_assets/scene/SceneWarning.h"
#include "trevik/Referenced.h"

#include <functional>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace trevik::kelvo::assets {

/** Where a scene file describes a node, a camera, a text's background or an effect, and as what. */
struct SceneOrigin {
    std::string className; ///< as the file writes it
    std::string name;      ///< empty for none
    std::string sFile;     ///< that it stands in: the scene's own, or one that is included
    unsigned int nLine;    ///< that the description begins on
    std::string sUse;      ///< of a template: `template "row", used at scene.json:31`; else empty
    std::string way;       ///< to it in the file, such as "/nodes/3/children/0"; empty for the root
};

/** Where the nodes and effects of a scene come from. */
using SceneOrigins = std::unordered_map<Referenced const*, SceneOrigin>;

/** What the reading of a scene file tells beside the scene. It belongs to that scene and knows its nodes. */
class SceneNotes {
public:
    /** The name of the scene file in messages; empty where the scene is not from a text. */
    std::string const& GetSource() const { return m_sSource; }
    /** Sets what GetSource answers; the reader does. */
    void SetSource(std::string const& sSource) { m_sSource = sSource; }

    /**
     * The paths of all files that were read or could not be: the scene's own, textures, fonts and their
     * pages; each once. Also those of a scene that could not be read.
     */
    std::vector<std::string> const& GetFiles() const { return m_files; }
    /** Sets what GetFiles answers; the reader does. */
    void SetFiles(std::vector<std::string> files) { m_files = std::move(files); }

    /** What is wrong with a scene that could not be read. */
    SceneFaults const& GetFaults() const { return m_faults; }
    /** Sets what GetFaults answers; the reader does. */
    void SetFaults(SceneFaults faults) { m_faults = std::move(faults); }

    /** What of the scene will not be drawn, or not as it is written; empty when it could not be read. */
    SceneWarnings const& GetWarnings() const { return m_warnings; }
    /** Adds a warning; the reader does, and what else looks for some. */
    void Warn(SceneWarning warning) { m_warnings.Add(std::move(warning)); }
    /** Adds all of some warnings. */
    void Warn(SceneWarnings const& warnings) { m_warnings.Add(warnings); }
    /** Whether the next warning is kept. */
    bool HasRoomForWarnings() const { return m_warnings.HasRoom(); }
    /** Puts the warnings into the order of the lines. */
    void SortWarnings() { m_warnings.Sort(); }

    /**
     * Of a scene whose (0, 0) is the upper left corner of its surface: the height that it has been read for.
     * None for others, and where a camera says what lies where.
     */
    std::optional<int> GetTop() const { return m_nTop; }
    /** Sets what GetTop answers; the reader does. */
    void SetTop(int nTop) { m_nTop = nTop; }

    /** Where a node or an effect of the scene comes from; null when the scene is not from a text. */
    SceneOrigin const* Find(Referenced const& object) const;
    /** Sets what Find answers, which is put together when it is first asked; the reader does. */
    void SetOrigins(std::function<SceneOrigins()> const& origins) { m_makeOrigins = origins; }

private:
    std::string m_sSource;
    std::vector<std::string> m_files;
    SceneFaults m_faults;
    SceneWarnings m_warnings;
    std::optional<int> m_nTop;
    mutable SceneOrigins m_origins;
    mutable std::function<SceneOrigins()> m_makeOrigins; ///< empty once it has been asked
};

} // namespace trevik::kelvo::assets
