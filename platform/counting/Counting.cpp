#include "kelvo_counting/Counting.h"

#include "DriverFunctions.h"
#include "DriverNotes.h"

#include <dlfcn.h>

#include <iterator>

namespace kelvokit::counting {

namespace {

constexpr char const* FunctionNames[] = {
#define ENTRY(result, name, ...) #name,
#define ENTRY0(result, name) #name,
#define EXTENSION(result, name, ...)
#include "EntryPoints.def"
#undef ENTRY
#undef ENTRY0
#undef EXTENSION
    "glEGLImageTargetTexture2DOES",
};
static_assert(std::size(FunctionNames) == FunctionCount);

/** All of the sums, which are the same in each place. */
constexpr unsigned long long Counts::* Sums[] = {
    &Counts::nCalls,
    &Counts::nDraws,
    &Counts::nTriangles,
    &Counts::nProgramChanges,
    &Counts::nProgramRepetitions,
    &Counts::nTextureChanges,
    &Counts::nTextureRepetitions,
    &Counts::nBlendChanges,
    &Counts::nBlendRepetitions,
};

} // namespace

char const* GetFunctionName(unsigned int nFunction) {
    return FunctionNames[nFunction];
}

Counts& Counts::operator+=(Counts const& other) {
    for (unsigned int nFunction = 0; nFunction < FunctionCount; ++nFunction) {
        calls[nFunction] += other.calls[nFunction];
    }
    for (auto const pSum : Sums) {
        this->*pSum += other.*pSum;
    }
    return *this;
}

Counts Counts::operator-(Counts const& earlier) const {
    Counts difference = *this;
    for (unsigned int nFunction = 0; nFunction < FunctionCount; ++nFunction) {
        difference.calls[nFunction] -= earlier.calls[nFunction];
    }
    for (auto const pSum : Sums) {
        difference.*pSum -= earlier.*pSum;
    }
    return difference;
}

Counts const& GetCounts() {
    return TheNotes().counts;
}

bool IsInFront() {
    // Even here the name stands for the function that comes first: what tells is the library that it is in.
    Dl_info first = {};
    Dl_info here = {};
    return dladdr(dlsym(RTLD_DEFAULT, "glDrawArrays"), &first) && dladdr(FunctionNames, &here) &&
           first.dli_fbase == here.dli_fbase;
}

} // namespace kelvokit::counting
