#pragma once

#include "trevik/Export.h"
#include "trevik/StringEncoded.h"

namespace trevik::kelvo {

/**
 * Why something that was asked for could not be done, for a person to read: where the fault lies (a file, or
 * a line or a value in it), what is wrong there, and why, where the system says more. Parts may be empty, all
 * of them while nothing is wrong. In UTF-8. How all that reads or writes files reports a failure, from here
 * up to the player. One thread at a time.
 */
class TREVIK_API Fault {
public:
    Fault() = default;
    Fault(String8 const& sWhere, String8 const& sWhat, String8 const& sWhy = String8());

    bool IsEmpty() const { return m_sText.IsEmpty(); }
    String8 const& GetWhere() const { return m_sWhere; }
    String8 const& GetWhat() const { return m_sWhat; }
    String8 const& GetWhy() const { return m_sWhy; }
    /** The parts that are not empty in one line, ": " between them. */
    String8 const& GetText() const { return m_sText; }

    /** The same fault as one of a larger whole, which has it at `sWhere`. */
    Fault Within(String8 const& sWhere) const;

private:
    String8 m_sWhere;
    String8 m_sWhat;
    String8 m_sWhy;
    String8 m_sText;
};

} // namespace trevik::kelvo
