// The native methods of the Java class clock.Scene: plays a scene file into an off-screen window, and hands
// out bitmaps over the surfaces of one of its textures.

#include "EntryPoints.h"
#include "JObject.h"
#include "image/PngWriter.h"
#include "kelvo_desktop/JavaBitmaps.h"
#include "kelvo_desktop/OffscreenWindow.h"
#include "kelvo_host/Scene.h"
#include "scene/SceneReader.h"
#include "trevik/ClassRegistry.h"
#include "trevik/jni/VM.h"
#include "trevik/kelvo/GraphicsDevice.h"
#include "trevik/kelvo/Sprite.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/Window.h"

#include <jni.h>

#include <memory>
#include <string>

using namespace trevik;
using namespace trevik::kelvo;

namespace {

using Window = kelvokit::desktop::OffscreenWindowT<WindowT<ANativeWindow>>;
using JavaBitmap = jni::Object<jni::android::graphics::Bitmap>;

/** The back end's classes, as long as the library is loaded. */
ClassRegistry& GetRegistry() {
    static ClassRegistry s_registry;
    static bool const s_fFilled = Initialize(&s_registry);
    static_cast<void>(s_fFilled);
    return s_registry;
}

/** A scene that plays. Destroyed from below: what lies on the device goes before the device does. */
struct Playback {
    Ref<Window> m_pWindow;
    std::unique_ptr<GraphicsDevice> m_pDevice;
    Scene m_scene;
    Ref<Texture> m_pTexture; ///< with surfaces

    bool Open(std::string const& file, std::string const& sprite, Fault& fault);
    bool Show(int nFrame, std::string const& path, Fault& fault);

private:
    bool Start(Fault& fault);
};

bool Playback::Open(std::string const& file, std::string const& sprite, Fault& fault) {
    if (!assets::ReadScene(file, GetRegistry(), m_scene, fault) || !Start(fault)) {
        return false;
    }
    Node* const pNode = m_scene.GetRoot()->FindNode(String16(String8(sprite.c_str())));
    if (pNode && pNode->IsKindOf(Sprite::ClassID)) {
        m_pTexture = Ref(static_cast<Sprite*>(pNode)->GetTexture());
    }
    if (!m_pTexture || m_pTexture->Count() == 0) {
        return assets::Fail(fault, file, "no sprite \"" + sprite + "\" has a texture with surfaces");
    }
    return true;
}

/** The device's start, and the surfaces of textures that want some; the calling thread is the render thread.
 */
bool Playback::Start(Fault& fault) {
    SceneSettings const& settings = m_scene.GetSettings();
    m_pWindow = Ref(new Window(settings.m_size.width, settings.m_size.height));
    m_pWindow->SetCapture(true);
    m_pDevice.reset(CreateDevice());
    if (!m_pDevice->Initialize(static_cast<WindowT<ANativeWindow>*>(m_pWindow.Get()), settings.m_format,
                               settings.m_size)) {
        return assets::Fail(fault, "", "no graphics device can be had");
    }
    return m_scene.PromoteTextures(fault);
}

bool Playback::Show(int nFrame, std::string const& path, Fault& fault) {
    m_scene.Update(*m_pDevice, static_cast<RealFloat>(nFrame));
    m_scene.RenderFrame(*m_pDevice);
    kelvokit::desktop::FinishedFrame const& frame = m_pWindow->LastFrame();
    assets::PngPicture picture;
    picture.pixels = frame.pixels.data();
    picture.width = frame.width;
    picture.height = frame.height;
    return assets::SavePng(path, picture, fault);
}

Playback& PlaybackOf(jlong playback) {
    return *reinterpret_cast<Playback*>(static_cast<std::intptr_t>(playback));
}

void ThrowIOException(JNIEnv* env, std::string const& message) {
    if (jclass const exception = env->FindClass("java/io/IOException")) {
        env->ThrowNew(exception, message.c_str());
    }
}

std::string TextOf(JNIEnv* env, jstring text) {
    char const* const pUnits = env->GetStringUTFChars(text, nullptr);
    std::string result = pUnits ? pUnits : "";
    env->ReleaseStringUTFChars(text, pUnits);
    return result;
}

} // namespace

extern "C" {

// Called by System.loadLibrary, on behalf of the class that calls that: its class loader is the one that
// knows the application's classes.
JNIEXPORT jint JNICALL JNI_OnLoad(JavaVM* pVM, void*) {
    jni::VM::SetJavaVM(pVM);
    JNIEnv* const env = jni::VM::GetEnv();
    return env && kelvokit::desktop::RegisterBitmapClass(env) ? JNI_VERSION_1_6 : JNI_ERR;
}

JNIEXPORT void JNICALL JNI_OnUnload(JavaVM*, void*) {
    kelvokit::desktop::UnregisterBitmapClass(jni::VM::GetEnv());
    jni::VM::SetJavaVM(nullptr);
}

JNIEXPORT jlong JNICALL Java_clock_Scene_nativeOpen(JNIEnv* env, jclass, jstring file, jstring sprite) {
    auto pPlayback = std::make_unique<Playback>();
    Fault fault;
    if (!pPlayback->Open(TextOf(env, file), TextOf(env, sprite), fault)) {
        ThrowIOException(env, fault.GetText());
        return 0;
    }
    return static_cast<jlong>(reinterpret_cast<std::intptr_t>(pPlayback.release()));
}

JNIEXPORT jobjectArray JNICALL Java_clock_Scene_nativeBitmaps(JNIEnv* env, jclass, jlong playback) {
    Texture& texture = *PlaybackOf(playback).m_pTexture;
    jclass const bitmapClass = jni::android::graphics::Bitmap::GetClass().Get();
    jobjectArray const bitmaps = env->NewObjectArray(texture.Count(), bitmapClass, nullptr);
    for (int nImage = 0; bitmaps && nImage < texture.Count(); ++nImage) {
        // The wrapper holds the bitmap until the array does.
        JavaBitmap const bitmap = texture.CreateJavaBitmapFromTexture(nImage);
        if (bitmap.IsEmpty()) {
            ThrowIOException(env, "a bitmap cannot be made");
            return nullptr;
        }
        env->SetObjectArrayElement(bitmaps, nImage, bitmap.Get());
    }
    return bitmaps;
}

JNIEXPORT jint JNICALL Java_clock_Scene_nativeFrame(JNIEnv*, jclass, jlong playback, jboolean fLast) {
    SceneSettings const& settings = PlaybackOf(playback).m_scene.GetSettings();
    return fLast ? settings.m_nLastFrame : settings.m_nFirstFrame;
}

JNIEXPORT jint JNICALL Java_clock_Scene_nativeCurrent(JNIEnv*, jclass, jlong playback) {
    return PlaybackOf(playback).m_pTexture->Current();
}

JNIEXPORT jint JNICALL Java_clock_Scene_nativeSwap(JNIEnv*, jclass, jlong playback) {
    return PlaybackOf(playback).m_pTexture->Swap();
}

JNIEXPORT void JNICALL Java_clock_Scene_nativeShow(JNIEnv* env, jclass, jlong playback, jint nFrame,
                                                   jstring picture) {
    Fault fault;
    if (!PlaybackOf(playback).Show(nFrame, TextOf(env, picture), fault)) {
        ThrowIOException(env, fault.GetText());
    }
}

JNIEXPORT void JNICALL Java_clock_Scene_nativeClose(JNIEnv*, jclass, jlong playback) {
    delete &PlaybackOf(playback);
}

} // extern "C"
