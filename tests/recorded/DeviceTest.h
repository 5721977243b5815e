#pragma once

#include "EntryPoints.h"
#include "ExpectCalls.h"
#include "GraphicsDeviceGL2.h"
#include "TextureGL2.h"
#include "kelvo_test/Diagnostics.h"
#include "trevik/ClassRegistry.h"

#include <memory>
#include <string>
#include <vector>

namespace kelvokit::recording {

using Strings = std::vector<std::string>;

/**
 * A test over a fresh driver and a device that is not initialised yet, with the back end's classes
 * registered.
 */
class DeviceTest : public Test {
protected:
    DeviceTest() {
        ::Initialize(&m_registry);
        m_pDevice = std::make_unique<trevik::kelvo::GraphicsDeviceGL2>();
    }

    /** Brings the device up on a window of this size and forgets the calls that this took. */
    void BringUp(int width = 640, int height = 480) {
        ASSERT_TRUE(m_pDevice->Initialize(nullptr, trevik::kelvo::DeviceFormat::RGBA8888,
                                          trevik::SizeT<int>(width, height)));
        Clear();
        m_diagnostics.Forget();
    }

    /** The GL name of the nth program that was made since the driver was reset, counted from 0. */
    static GLuint ProgramName(std::size_t index) { return LiveNames(Object::Program).at(index); }

    trevik::kelvo::GraphicsDeviceGL2& Device() { return *m_pDevice; }

    kelvokit::test::Diagnostics m_diagnostics;
    trevik::ClassRegistry m_registry;
    std::unique_ptr<trevik::kelvo::GraphicsDeviceGL2> m_pDevice;
};

} // namespace kelvokit::recording
