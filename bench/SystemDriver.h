#pragma once

#include "BenchScene.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/Window.h"

#include <GLES2/gl2.h>
#include <malloc.h>

#include <cstdio>
#include <cstdlib>

namespace kelvokit::bench {

/** A back end on the system's driver, with a window off screen that outlives it. */
class SystemDriver {
public:
    /**
     * Brings the back end up and says which driver it is; false, said, when it cannot be had. With one
     * rasteriser thread, and a C library that keeps the driver's buffers: otherwise the noise exceeds what is
     * measured.
     */
    bool Initialize(int nWidth, int nHeight) {
        setenv("LP_NUM_THREADS", "1", 0);
        mallopt(M_TRIM_THRESHOLD, 1 << 30);
        mallopt(M_MMAP_THRESHOLD, 1 << 30);
        m_pWindow = trevik::Ref<Window>(new Window(nWidth, nHeight));
        if (!m_backend.Initialize(static_cast<trevik::kelvo::WindowT<ANativeWindow>*>(m_pWindow.Get()),
                                  nWidth, nHeight)) {
            return false;
        }
        std::printf("driver: %s, %s\n", reinterpret_cast<char const*>(glGetString(GL_VENDOR)),
                    reinterpret_cast<char const*>(glGetString(GL_RENDERER)));
        return true;
    }
    Backend& GetBackend() { return m_backend; }

private:
    using Window = kelvokit::desktop::OffscreenWindowT<trevik::kelvo::WindowT<ANativeWindow>>;

    trevik::Ref<Window> m_pWindow;
    Backend m_backend;
};

} // namespace kelvokit::bench
