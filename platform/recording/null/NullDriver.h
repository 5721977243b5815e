#pragma once

/** What the null driver has been asked to make since the process started. */
struct NullDriverCounts {
    unsigned int m_nObjects;   ///< textures, buffers, framebuffers, renderbuffers, programs, shaders
    unsigned int m_nLocations; ///< uniform and attribute locations
    unsigned int m_nUploads;   ///< texture images
};

extern "C" NullDriverCounts GetNullDriverCounts(void);
