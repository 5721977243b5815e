#include "command/Progress.h"

#include <unistd.h>

#include <cstdio>

namespace kelvokit::player {

Progress::Progress(unsigned int nSteps, bool fShown)
    : m_nSteps(nSteps), m_fTerminal(fShown && isatty(STDERR_FILENO) == 1) {}

void Progress::Show(unsigned int nDone) {
    int const nHundredths = static_cast<int>(100ull * nDone / m_nSteps);
    if (!m_fTerminal || nHundredths == m_nShown) {
        return;
    }
    m_nShown = nHundredths;
    char bar[51];
    for (int n = 0; n < 50; ++n) {
        bar[n] = 2 * n < nHundredths ? '#' : '.';
    }
    bar[50] = '\0';
    std::fprintf(stderr, "\r[%s] %u of %u frames", bar, nDone, m_nSteps);
    std::fflush(stderr);
}

void Progress::Clear() {
    if (m_nShown >= 0) {
        std::fputs("\r\033[K", stderr);
        m_nShown = -1;
    }
}

} // namespace kelvokit::player
