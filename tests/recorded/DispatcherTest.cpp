// The render thread and the work that others queue for it.

#include "trevik/Dispatcher.h"

#include "DeviceTest.h"

#include <thread>

namespace {

using namespace kelvokit::recording;
using namespace trevik;
using namespace trevik::kelvo;

class RenderThread : public DeviceTest {};

TEST_F(RenderThread, IsTheOneThatInitialisedTheDeviceEvenInVain) {
    bool fElsewhere = false;
    std::thread([&] {
        Fail("eglGetDisplay");
        EXPECT_FALSE(Device().Initialize(nullptr, DeviceFormat::RGB565, SizeT<int>(8, 8)));
        fElsewhere = GraphicsDeviceGL2::InRenderThread();
    }).join();
    EXPECT_TRUE(fElsewhere);
    EXPECT_FALSE(GraphicsDeviceGL2::InRenderThread());
    Succeed("eglGetDisplay");
    BringUp();
    EXPECT_TRUE(GraphicsDeviceGL2::InRenderThread());
    // It never waits for itself, though it has not processed anything yet.
    bool fInvoked = false;
    Ref<OperationBase> pOperation(new Operation([&fInvoked] { fInvoked = true; }));
    EXPECT_TRUE(GraphicsDeviceGL2::GetDispatcher()->Invoke(pOperation));
    EXPECT_TRUE(fInvoked);
    std::thread([&] { fElsewhere = GraphicsDeviceGL2::InRenderThread(); }).join();
    EXPECT_FALSE(fElsewhere);
}

TEST_F(RenderThread, DeletesATextureThatAnotherThreadGaveUpOnceAtProcess) {
    BringUp();
    Ref<TextureGL2> pTexture(new TextureGL2);
    ASSERT_TRUE(pTexture->Replace(4, 4, TextureFormat::ETC1_RGBA, nullptr, 0));
    ASSERT_NE(pTexture->GetGLTexture(), 0u);
    Clear();
    std::thread([&] { pTexture.Reset(); }).join();
    EXPECT_CALLS();
    EXPECT_EQ(m_diagnostics.Failures(), (Strings{"src/TextureGL2:190: GraphicsDeviceGL2::InRenderThread()",
                                                 "src/TextureGL2:199: GraphicsDeviceGL2::InRenderThread()"}));
    Device().Process();
    EXPECT_EQ(Count("glDeleteTextures"), 2u);
    Device().Process();
    EXPECT_EQ(Count("glDeleteTextures"), 2u);
    EXPECT_TRUE(Errors().empty());
}

} // namespace
