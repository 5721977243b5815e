#pragma once

#include "trevik/Export.h"
#include "trevik/StringEncoded.h"

#include <string>

namespace trevik::kelvo {

/**
 * Why something that was asked for could not be done, for a person to read: where the fault lies (a file, or
 * a line or a value in it), what is wrong there, and why, where the system says more. Parts may be empty, all
 * of them while nothing is wrong. In UTF-8. How all that reads or writes files reports a failure, from here
 * up to the player. Its texts are no String8, which would lose them when memory is short. Those
 * made or extended here say "no memory" where even a std::string finds none, but in a build without
 * exceptions, which ends then. The constructor of std::strings throws std::bad_alloc. One thread at a time.
 */
class TREVIK_API Fault {
public:
    Fault() = default;
    /** Where, what, and why, where that is known: UTF-8, without a line break. */
    Fault(std::string const& sWhere, std::string const& sWhat, std::string const& sWhy = std::string());
    /** The same from strings of the contract. */
    Fault(String8 const& sWhere, String8 const& sWhat, String8 const& sWhy = String8());

    /** Whether there is no fault: all three parts are empty. */
    bool IsEmpty() const { return m_sText.empty(); }
    /** The place: a file, a line, a way into the document; may be empty. */
    std::string const& GetWhere() const { return m_sWhere; }
    /** What is wrong there. */
    std::string const& GetWhat() const { return m_sWhat; }
    /** What the system or a library said of it; may be empty. */
    std::string const& GetWhy() const { return m_sWhy; }
    /** The parts that are not empty in one line, ": " between them. */
    std::string const& GetText() const { return m_sText; }

    /** The same fault as one of a larger whole, which has it at `sWhere`. */
    Fault Within(std::string const& sWhere) const;
    /** The same with a string of the contract. */
    Fault Within(String8 const& sWhere) const;

private:
    template <class Maker>
    static Fault Make(Maker make);

    std::string m_sWhere;
    std::string m_sWhat;
    std::string m_sWhy;
    std::string m_sText;
};

} // namespace trevik::kelvo
