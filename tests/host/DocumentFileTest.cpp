#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include <sys/stat.h>
#include <unistd.h>

#include "PropertyTestSupport.h"
#include "kelvo_host/DocumentFile.h"
#include "kelvo_host/FileReplacement.h"
#include "kelvo_test/TemporaryFolder.h"

namespace trevik::kelvo {
namespace {

typedef std::vector<unsigned char> Bytes;

Ref<DocumentNode> MakeDocument(int nValue) {
    Ref<DocumentNode> pDocument(new DocumentNode(0, 0));
    AddBytes(*pDocument, 1, BytesOf(nValue));
    return pDocument;
}

Bytes WriteFile(DocumentNode const& document) {
    List<unsigned char> bytes;
    EXPECT_TRUE(DocumentFile::Write(document, bytes));
    return Bytes(bytes.begin(), bytes.end());
}

/** CRC-32 bit by bit, as its definition goes. */
unsigned int GetChecksum(Bytes const& bytes) {
    unsigned int nRemainder = 0xffffffffu;
    for (unsigned char nByte : bytes) {
        nRemainder ^= nByte;
        for (int nBit = 0; nBit < 8; ++nBit) {
            nRemainder = (nRemainder >> 1) ^ ((nRemainder & 1) != 0 ? 0xedb88320u : 0);
        }
    }
    return ~nRemainder;
}

/** A file around a payload, with any version and any length word, and a checksum that fits. */
Bytes Wrap(unsigned int nVersion, unsigned int nLength, Bytes const& payload) {
    Bytes bytes = {'K', 'E', 'L', 'V', 'O', 'D', 'O', 'C'};
    Bytes const words = BytesOf(nVersion, nLength);
    bytes.insert(bytes.end(), words.begin(), words.end());
    bytes.insert(bytes.end(), payload.begin(), payload.end());
    Bytes const checksum = BytesOf(GetChecksum(bytes));
    bytes.insert(bytes.end(), checksum.begin(), checksum.end());
    return bytes;
}

Ref<DocumentNode> ReadFile(Bytes const& bytes, std::string& sError) {
    String16 sText;
    Ref<DocumentNode> pDocument = DocumentFile::Read(bytes.data(), bytes.size(), sText);
    sError = String8(sText).GetData();
    return pDocument;
}

TEST(DocumentFile, HoldsThePayloadInItsFrame) {
    List<unsigned char> payload;
    MakeDocument(5)->Write(payload);
    EXPECT_EQ(WriteFile(*MakeDocument(5)),
              Wrap(2, payload.GetCount(), Bytes(payload.begin(), payload.end())));
    EXPECT_EQ(GetChecksum({'1', '2', '3', '4', '5', '6', '7', '8', '9'}), 0xcbf43926u)
        << "the published check value";
}

TEST(DocumentFile, OlderVersionsAreRead) {
    std::string sError;
    for (unsigned int nVersion : {0u, 1u, 2u}) {
        EXPECT_TRUE(ReadFile(Wrap(nVersion, 16, Bytes(16)), sError)) << nVersion << ": " << sError;
    }
}

TEST(DocumentFile, EachFaultHasItsMessage) {
    Bytes damaged = WriteFile(*MakeDocument(5));
    damaged[damaged.size() - 6] ^= 1;
    struct {
        char const* m_pReason;
        Bytes m_bytes;
    } const cases[] = {
        {"not a scene document", {}},
        {"not a scene document", Bytes(100)},
        {"cut short", {'K', 'E', 'L', 'V', 'O', 'D', 'O', 'C', 2, 0, 0, 0}},
        {"version 3;", Wrap(3, 16, Bytes(16))},
        {"version 4294967295;", Wrap(0xffffffffu, 16, Bytes(16))},
        {"holds 16 bytes of content, not the 17", Wrap(2, 17, Bytes(16))},
        {"holds 16 bytes of content, not the 15", Wrap(2, 15, Bytes(16))},
        {"not the 4294967295", Wrap(2, 0xffffffffu, Bytes(16))},
        {"checksum", damaged},
        {"malformed at byte 16: the document ends within a node", Wrap(2, 3, Bytes(3))},
        {"malformed at byte 32: bytes are left over", Wrap(2, 20, Bytes(20))},
    };
    for (auto const& file : cases) {
        std::string sError;
        EXPECT_FALSE(ReadFile(file.m_bytes, sError)) << file.m_pReason;
        EXPECT_NE(sError.find(file.m_pReason), std::string::npos) << sError;
    }
}

TEST(DocumentFile, EveryChangedBitIsNoticed) {
    Bytes bytes = WriteFile(*MakeDocument(5));
    std::string sError;
    for (std::size_t nBit = 0; nBit < bytes.size() * 8; ++nBit) {
        bytes[nBit / 8] ^= static_cast<unsigned char>(1u << nBit % 8);
        EXPECT_FALSE(ReadFile(bytes, sError)) << "bit " << nBit;
        bytes[nBit / 8] ^= static_cast<unsigned char>(1u << nBit % 8);
    }
    EXPECT_TRUE(ReadFile(bytes, sError));
}

class DocumentFileOnDisk : public testing::Test {
protected:
    std::size_t CountFiles() const { return m_files.List().size(); }
    std::string GetPath(std::string const& sName) const { return m_files.Path(sName); }
    int GetSavedValue(std::string const& sPath) const {
        String16 sError;
        Ref<DocumentNode> pDocument = LoadDocument(sPath.c_str(), sError);
        int nValue = -1;
        if (pDocument) {
            std::memcpy(&nValue, GetBytes(*pDocument, 1).data(), sizeof(nValue));
        }
        return nValue;
    }

    ::kelvo::test::TemporaryFolder m_files;
    std::filesystem::path const m_folder = m_files.Path(".");
    String16 m_sError;
};

TEST_F(DocumentFileOnDisk, SavingReplacesTheFileAndLeavesNothingElse) {
    std::string const sPath = GetPath("sc\u00e8ne.kelvo");
    ASSERT_TRUE(SaveDocument(sPath.c_str(), *MakeDocument(5), m_sError)) << String8(m_sError).GetData();
    EXPECT_EQ(GetSavedValue(sPath), 5);
    ASSERT_TRUE(SaveDocument(sPath.c_str(), *MakeDocument(6), m_sError));
    EXPECT_EQ(GetSavedValue(sPath), 6);
    int const nDescriptor = dup(1);
    close(nDescriptor);
    EXPECT_EQ(GetSavedValue(sPath), 6);
    ASSERT_TRUE(SaveDocument(sPath.c_str(), *MakeDocument(6), m_sError));
    EXPECT_EQ(dup(1), nDescriptor) << "files are closed again";
    close(nDescriptor);
    FileReplacement other;
    unsigned char const nByte = 'x';
    EXPECT_TRUE(other.Open(sPath.c_str()) && other.Write(&nByte, 1) && other.Close() && other.TakePlace());
    EXPECT_EQ(m_files.ReadText("sc\u00e8ne.kelvo"), "x");
    EXPECT_EQ(CountFiles(), 1u);
}

TEST_F(DocumentFileOnDisk, SavingKeepsLinksAndPermissions) {
    namespace fs = std::filesystem;
    fs::create_directory(m_folder / "far");
    for (bool fThere : {false, true}) { // the link leads to a file that is not there yet, then to one that is
        SCOPED_TRACE(fThere);
        fs::remove(m_folder / "near");
        fs::create_symlink("far/scene", m_folder / "near");
        fs::create_symlink(m_folder / "near", m_folder / (fThere ? "second" : "first"));
        std::string const sPath = GetPath(fThere ? "second" : "first");
        ASSERT_TRUE(SaveDocument(sPath.c_str(), *MakeDocument(5 + fThere), m_sError))
            << String8(m_sError).GetData();
        EXPECT_TRUE(fs::is_symlink(sPath) && fs::is_symlink(m_folder / "near"));
        EXPECT_EQ(GetSavedValue(GetPath("far/scene")), 5 + fThere);
        if (fThere) {
            EXPECT_EQ(fs::status(GetPath("far/scene")).permissions(), fs::perms(0604));
        }
        fs::permissions(GetPath("far/scene"), fs::perms(0604));
    }
    fs::create_symlink("loop", m_folder / "loop");
    EXPECT_FALSE(SaveDocument(GetPath("loop").c_str(), *MakeDocument(5), m_sError));
    EXPECT_TRUE(fs::is_symlink(m_folder / "loop"));
}

TEST_F(DocumentFileOnDisk, LargeDocumentsComeBackWhole) {
    Ref<DocumentNode> pDocument = MakeDocument(5);
    Bytes large(300000);
    for (std::size_t n = 0; n < large.size(); ++n) {
        large[n] = static_cast<unsigned char>(n * n >> 3);
    }
    AddBytes(*pDocument, 2, large);
    std::string const sPath = GetPath("large");
    ASSERT_TRUE(SaveDocument(sPath.c_str(), *pDocument, m_sError));
    Ref<DocumentNode> pLoaded = LoadDocument(sPath.c_str(), m_sError);
    ASSERT_TRUE(pLoaded) << String8(m_sError).GetData();
    EXPECT_TRUE(GetBytes(*pLoaded, 2) == large);
}

TEST_F(DocumentFileOnDisk, FailedSaveKeepsTheOldFileAndSaysWhy) {
    // The name is as long as names may be; the file that is written beside it first cannot be made.
    std::string const sPath = GetPath(std::string(255, 'n'));
    Bytes const old = WriteFile(*MakeDocument(5));
    std::ofstream(sPath, std::ios::binary)
        .write(reinterpret_cast<char const*>(old.data()), static_cast<std::streamsize>(old.size()));
    ASSERT_EQ(GetSavedValue(sPath), 5);
    EXPECT_FALSE(SaveDocument(sPath.c_str(), *MakeDocument(6), m_sError));
    EXPECT_NE(std::string(String8(m_sError).GetData()).find(sPath + ": cannot write: "), std::string::npos);
    EXPECT_EQ(GetSavedValue(sPath), 5);

    std::string const sFolder = GetPath("folder");
    std::filesystem::create_directory(sFolder);
    EXPECT_FALSE(SaveDocument(sFolder.c_str(), *MakeDocument(6), m_sError));
    EXPECT_EQ(CountFiles(), 2u) << "what was written so far is removed";
}

TEST_F(DocumentFileOnDisk, FailedLoadNamesTheFileAndTheReason) {
    std::ofstream(GetPath("text")) << "no document at all";
    std::filesystem::create_directory(GetPath("folder"));
    for (auto const& [sName, sReason] :
         {std::pair<std::string, std::string>{"missing", ": cannot read: No such file"},
          {"folder", ": cannot read: Is a directory"},
          {"text", ": not a scene document"}}) {
        EXPECT_FALSE(LoadDocument(GetPath(sName).c_str(), m_sError));
        EXPECT_EQ(std::string(String8(m_sError).GetData()).rfind(GetPath(sName) + sReason, 0), 0u)
            << String8(m_sError).GetData();
    }
}

TEST_F(DocumentFileOnDisk, PipesAreNeitherReadNorReplaced) {
    std::string const sPipe = GetPath("pipe");
    ASSERT_EQ(mkfifo(sPipe.c_str(), 0600), 0);
    EXPECT_FALSE(LoadDocument(sPipe.c_str(), m_sError)) << "nobody writes: reading it would wait for ever";
    EXPECT_EQ(String8(m_sError).GetData(), sPipe + ": cannot read: not a regular file");
    EXPECT_FALSE(SaveDocument(sPipe.c_str(), *MakeDocument(6), m_sError));
    EXPECT_EQ(String8(m_sError).GetData(), sPipe + ": cannot write: not a regular file");
    EXPECT_TRUE(std::filesystem::is_fifo(sPipe));
}

TEST_F(DocumentFileOnDisk, DocumentsNestedTooDeepAreNotWritten) {
    Ref<DocumentNode> pDocument(new DocumentNode(0, 0));
    for (unsigned int n = 0; n < DocumentNode::MaximumDepth; ++n) {
        Ref<DocumentNode> pParent(new DocumentNode(0, 0));
        pParent->AddChild(pDocument);
        pDocument = pParent;
    }
    EXPECT_FALSE(SaveDocument(GetPath("deep").c_str(), *pDocument, m_sError));
    EXPECT_EQ(CountFiles(), 0u);
    EXPECT_NE(m_sError.Find(String16(u"nested too deep")), -1);
}

} // namespace
} // namespace trevik::kelvo
