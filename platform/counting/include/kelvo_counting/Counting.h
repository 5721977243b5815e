#pragma once

#include <array>

/**
 * Counts what a program asks of OpenGL ES 2.0.
 *
 * An executable that links this library ahead of the code under test gets every gl* call of that code: it is
 * handed on to the driver as it came and counted. What is drawn is the same as without it. The functions that
 * eglGetProcAddress gives are counted, too. All of it is for one context on one thread at a time.
 */
namespace kelvokit::counting {

/** Functions that are counted. */
constexpr unsigned int FunctionCount = 143;

/** The name of a function by its number, below FunctionCount. */
char const* GetFunctionName(unsigned int nFunction);

/**
 * What has been asked for. A change is a call that sets something else than what was set; a call that sets
 * what was set already is a repetition.
 */
struct Counts {
    std::array<unsigned long long, FunctionCount> calls = {}; ///< by function
    unsigned long long nCalls = 0;                            ///< of all functions
    unsigned long long nDraws = 0;                            ///< glDrawArrays and glDrawElements
    unsigned long long nTriangles = 0;                        ///< of the draws; lines and points are none
    unsigned long long nProgramChanges = 0;                   ///< glUseProgram
    unsigned long long nProgramRepetitions = 0;               ///< glUseProgram
    unsigned long long nTextureChanges = 0;                   ///< glBindTexture, for each unit and target
    unsigned long long nTextureRepetitions = 0;               ///< as the changes
    unsigned long long nBlendChanges = 0;     ///< glBlend..., and GL_BLEND by glEnable and glDisable
    unsigned long long nBlendRepetitions = 0; ///< as the changes

    /** Adds what others have asked for. */
    Counts& operator+=(Counts const& other);
    /** What has been added since `earlier`. */
    Counts operator-(Counts const& earlier) const;
};

/** Everything since the program began: keep it, and subtract it from a later one. */
Counts const& GetCounts();

/**
 * Whether GL's calls arrive here: false when another library with functions of these names is linked ahead of
 * this one, or has been loaded before it, as tracers are.
 */
bool IsInFront();

} // namespace kelvokit::counting
