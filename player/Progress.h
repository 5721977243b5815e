#pragma once

#include <string>

namespace kelvokit::player {

/** A bar on the terminal that stderr is; nothing when stderr is none. */
class Progress {
public:
    /** Steps to come, at least 1. */
    explicit Progress(unsigned int nSteps);
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
