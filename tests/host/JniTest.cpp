#include <gtest/gtest.h>

#include "JObject.h"
#include "kelvo_test/Diagnostics.h"
#include "kelvo_test/JavaMachine.h"

namespace trevik::jni {
namespace {

TEST(Jni, ClassesAreFoundOnceThereIsAVirtualMachineAndGoWithIt) {
    Class const early("some/Early"), unknown("no/Such");
    Class const& bitmap = android::graphics::Bitmap::GetClass();
    EXPECT_TRUE(VM::RegisterClass(&early));
    EXPECT_EQ(early.Get(), nullptr);
    {
        ::kelvo::test::JavaMachine java;
        EXPECT_NE(early.Get(), nullptr);
        EXPECT_EQ(java.m_nGlobals, 4);
        VM::UnregisterClass(&early);
        VM::UnregisterClass(&early);
        EXPECT_EQ(early.Get(), nullptr);
        EXPECT_EQ(java.m_nGlobals, 3);
        Object<android::graphics::Bitmap> const object(reinterpret_cast<jobject>(&java));

        ::kelvo::test::Diagnostics log;
        java.m_fFindsClasses = false; // as on a thread whose loader does not know them
        EXPECT_TRUE(VM::RegisterClass(&bitmap));
        EXPECT_NE(bitmap.Get(), nullptr);
        EXPECT_FALSE(VM::RegisterClass(nullptr));
        EXPECT_FALSE(VM::RegisterClass(&unknown));
        EXPECT_FALSE(java.m_fPending) << "what Java threw is cleared";
        ASSERT_EQ(log.Messages().size(), 2u);
        EXPECT_NE(log.Messages()[1].find("no/Such"), std::string::npos);
        java.m_fPending = true;
        EXPECT_FALSE(object.IsInstanceOf(unknown));
        EXPECT_FALSE(java.m_fPending) << "an exception does not stay because the class is missing";
        VM::UnregisterClass(&unknown);
    }
    EXPECT_EQ(bitmap.Get(), nullptr);
    EXPECT_EQ(VM::GetEnv(), nullptr);
}

} // namespace
} // namespace trevik::jni
