#pragma once

#include <string>

namespace kelvokit::player {

/** A bar on the terminal that stderr is; nothing when stderr is none. */
class Progress {
public:
    /** Steps to come, at least 1; `fShown`: whether they are to be shown at all. */
    Progress(unsigned int nSteps, bool fShown);
    ~Progress() { Clear(); }
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    /** Shows that so many steps are done. */
    void Show(unsigned int nDone);
    /** Takes the bar off the terminal. */
    void Clear();

private:
    unsigned int m_nSteps;
    int m_nShown = -1; ///< hundredths on the terminal, -1 for no bar
    bool m_fTerminal;
};

} // namespace kelvokit::player
