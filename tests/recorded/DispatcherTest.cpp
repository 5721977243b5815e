// The render thread and the work that others queue for it.

#include "DeviceTest.h"

#include "trevik/Dispatcher.h"

#include <thread>

namespace {

using namespace recording;
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
    std::thread([&] { fElsewhere = GraphicsDeviceGL2::InRenderThread(); }).join();
    EXPECT_FALSE(fElsewhere);
}

TEST_F(RenderThread, ExecutesInOrderAtProcessWhatOthersQueued) {
    BringUp();
    std::vector<int> executed;
    std::vector<std::thread::id> threads;
    std::thread([&] {
        for (int i = 0; i < 3; ++i) {
            Ref<OperationBase> pOperation(new Operation([&executed, &threads, i] {
                executed.push_back(i);
                threads.push_back(std::this_thread::get_id());
            }));
            EXPECT_TRUE(GraphicsDeviceGL2::GetDispatcher()->Enqueue(pOperation));
        }
    }).join();
    EXPECT_TRUE(executed.empty());
    Device().Process();
    EXPECT_EQ(executed, (std::vector<int>{0, 1, 2}));
    EXPECT_EQ(threads, std::vector<std::thread::id>(3, std::this_thread::get_id()));
    Device().Process();
    EXPECT_EQ(executed.size(), 3u);
}

TEST_F(RenderThread, DeletesATextureThatAnotherThreadGaveUpOnceAtProcess) {
    BringUp();
    Ref<TextureGL2> pTexture(new TextureGL2);
    ASSERT_TRUE(pTexture->Replace(4, 4, TextureFormat::RGBA8888, nullptr, 0));
    ASSERT_NE(pTexture->GetGLTexture(), 0u);
    std::thread([&] {
        TextureGL2* const pReleased = pTexture.Detach();
        Ref<OperationBase> pOperation(new Operation([pReleased] { pReleased->ReleaseReference(); }));
        GraphicsDeviceGL2::GetDispatcher()->Enqueue(pOperation);
    }).join();
    EXPECT_EQ(Count("glDeleteTextures"), 0u);
    Device().Process();
    EXPECT_EQ(Count("glDeleteTextures"), 1u);
    Device().Process();
    EXPECT_EQ(Count("glDeleteTextures"), 1u);
    EXPECT_TRUE(m_diagnostics.Failures().empty());
}

} // namespace
