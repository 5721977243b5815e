#include "JObject.h"
#include "kelvo_test/Diagnostics.h"
#include "kelvo_test/JavaMachine.h"

#include <gtest/gtest.h>

namespace trevik::jni {
namespace {

TEST(Jni, ClassesAreFoundOnceThereIsAVirtualMachineAndGoWithIt) {
    Class const early("some/Early"), unknown("no/Such");
    Class const& bitmap = android::graphics::Bitmap::GetClass();
    EXPECT_TRUE(VM::RegisterClass(&early));
    EXPECT_EQ(early.Get(), nullptr);
    {
        kelvokit::test::JavaMachine java;
        EXPECT_NE(early.Get(), nullptr);
        EXPECT_EQ(java.m_nGlobals, 4);
        VM::UnregisterClass(&early);
        VM::UnregisterClass(&early);
        EXPECT_EQ(early.Get(), nullptr);
        EXPECT_EQ(java.m_nGlobals, 3);
        Object<android::graphics::Bitmap> const object(reinterpret_cast<jobject>(&java));

        kelvokit::test::Diagnostics log;
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

        log.Forget();
        java.m_fThrows = true;
        java.m_fPending = true;
        {
            Object<android::graphics::Bitmap> const other(reinterpret_cast<jobject>(&java));
            java.m_fPending = true;
            other.IsInstanceOf(bitmap);
            java.m_fPending = true;
        }
        java.m_fThrows = false;
        std::string const before = "[kelvo] Java exception BEFORE ", after = "[kelvo] Java exception AFTER ";
        std::string const made = "env->NewGlobalRef(obj) (include/JObject:1045): ";
        std::string const asked = "env->IsInstanceOf(object.Get(), Get()) (include/JObject:1136): ";
        std::string const gone = "env->DeleteGlobalRef(m_obj) (include/JObject:1049): ";
        EXPECT_EQ(log.Messages(),
                  (std::vector<std::string>{before + made, after + made, after + asked, before + asked,
                                            after + asked, before + gone, after + gone}));
    }
    EXPECT_EQ(bitmap.Get(), nullptr);
    EXPECT_EQ(VM::GetEnv(), nullptr);
    kelvokit::test::JavaMachine const next;
    EXPECT_EQ(early.Get(), nullptr) << "it is not registered any more";
}

} // namespace
} // namespace trevik::jni
