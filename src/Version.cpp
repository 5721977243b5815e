#include "Export.h"

#include <jni.h>

#include <cstdint>

// Fixed for each release. The stamp is major, minor and a two-digit build run together.
#define TREVIK_VERSION_TEXT "01.1213.02"

namespace {

constexpr std::int32_t VersionMajor = 1;
constexpr std::int32_t VersionMinor = 1213;
constexpr std::int32_t VersionBuild = 2;
constexpr std::int32_t VersionStamp = (VersionMajor * 10000 + VersionMinor) * 100 + VersionBuild;
constexpr std::int32_t CurrentContentStamp = 2;
constexpr std::int32_t MinimumContentStamp = 0;

static_assert(VersionStamp == 1121302, "the stamp is the version text without its dots");

} // namespace

extern "C" {

/** The version as text, "major.minor.build"; static storage. */
KELVO_EXPORT char const* GetTrevikVersion() {
    return TREVIK_VERSION_TEXT;
}

KELVO_EXPORT std::int32_t GetTrevikVersionMajor() {
    return VersionMajor;
}

KELVO_EXPORT std::int32_t GetTrevikVersionMinor() {
    return VersionMinor;
}

KELVO_EXPORT std::int32_t GetTrevikVersionBuild() {
    return VersionBuild;
}

KELVO_EXPORT std::int32_t GetTrevikVersionStamp() {
    return VersionStamp;
}

/** The newest and the oldest stamp of scene content that this version draws. */
KELVO_EXPORT std::int32_t GetCurrentContentVersionStamp() {
    return CurrentContentStamp;
}

KELVO_EXPORT std::int32_t GetMinimumContentVersionStamp() {
    return MinimumContentStamp;
}

KELVO_EXPORT bool IsContentVersionStampOk(std::uint32_t stamp) {
    return stamp >= static_cast<std::uint32_t>(GetMinimumContentVersionStamp()) &&
           stamp <= static_cast<std::uint32_t>(GetCurrentContentVersionStamp());
}

// Native methods of the Java class com.omnar.trevik.fx.FxObject.

KELVO_EXPORT JNIEXPORT jint JNICALL Java_com_omnar_trevik_fx_FxObject_GetMajorVersion(JNIEnv*, jobject) {
    return VersionMajor;
}

KELVO_EXPORT JNIEXPORT jint JNICALL Java_com_omnar_trevik_fx_FxObject_GetMinorVersion(JNIEnv*, jobject) {
    return VersionMinor;
}

KELVO_EXPORT JNIEXPORT jint JNICALL Java_com_omnar_trevik_fx_FxObject_GetBuildVersion(JNIEnv*, jobject) {
    return VersionBuild;
}

} // extern "C"
