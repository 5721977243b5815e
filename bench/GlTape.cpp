#include "GlTape.h"

#include "Allocations.h"

#include <GLES2/gl2.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

namespace kelvokit::bench {

void* GlTape::FindNext(char const* pName) {
    void* const pFunction = dlsym(RTLD_NEXT, pName);
    if (pFunction == nullptr) {
        std::fprintf(stderr, "benchmark: there is no %s\n", pName);
        std::exit(1);
    }
    return pFunction;
}

} // namespace kelvokit::bench

// The one function whose arguments say too little to be held: how many vertices a pointer has. Every quad of
// this library has four.
extern "C" void glVertexAttribPointer(GLuint nIndex, GLint nSize, GLenum type, GLboolean fNormalized,
                                      GLsizei nStride, void const* pData) {
    using namespace kelvokit::bench;
    static auto const s_pNext =
        reinterpret_cast<decltype(&glVertexAttribPointer)>(GlTape::FindNext("glVertexAttribPointer"));
    if (GlTape* const pTape = GlTape::Recording()) {
        auto const* const pFirst = static_cast<GLfloat const*>(pData);
        pTape->Note([=, values = std::vector<GLfloat>(pFirst, pFirst + std::ptrdiff_t{4} * nSize)] {
            s_pNext(nIndex, nSize, type, fNormalized, nStride, values.data());
        });
    }
    UncountedAllocations const driversOwn;
    s_pNext(nIndex, nSize, type, fNormalized, nStride, pData);
}
