#include "kelvo_host/DocumentFile.h"

#include "kelvo_host/FileReplacement.h"
#include "kelvo_test/TemporaryFolder.h"
#include "properties/PropertyTestSupport.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

namespace trevik::kelvo {
namespace {

namespace fs = std::filesystem;
typedef std::vector<unsigned char> Bytes;

Ref<DocumentNode> MakeDocument(int nValue) {
    Ref<DocumentNode> pDocument(new DocumentNode(0, 0));
    AddBytes(*pDocument, 1, BytesOf(nValue));
    return pDocument;
}

/** A file around a payload. */
Bytes Wrap(unsigned int nVersion, unsigned int nLength, Bytes const& payload, unsigned int nChecksum = 0) {
    Bytes bytes = {'K', 'E', 'L', 'V', 'O', 'D', 'O', 'C'};
    for (Bytes const& part : {BytesOf(nVersion, nLength), payload, BytesOf(nChecksum)}) {
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

TEST(DocumentFile, EachFaultHasItsMessage) {
    std::string const sJson =
        "not a scene document: JSON is read by assets::ReadScene, and kelvo-player --save "
        "makes a document of it";
    std::pair<std::string, Bytes> const cases[] = {
        {"", Wrap(0, 16, Bytes(16), 0x4c258d0b)},
        {"", Wrap(1, 16, Bytes(16), 0xcd00e82c)},
        {"not a scene document", {}},
        {"not a scene document", Bytes(100)},
        {"not a scene document", {' ', '\n', '\t', '\r'}},
        {sJson, {'{'}},
        {sJson, {' ', '\n', '\t', '\r', '/', '/', ' ', 'K', 'E', 'L', 'V', 'O'}},
        {"cut short: 8 bytes", {'K', 'E', 'L', 'V', 'O', 'D', 'O', 'C'}},
        {"version 4; this program reads versions 0 to 3", Wrap(4, 16, Bytes(16))},
        {"version 4294967295; this program reads versions 0 to 3", Wrap(0xffffffffu, 16, Bytes(16))},
        {"damaged: holds 16 bytes of content, not the 17 it names", Wrap(2, 17, Bytes(16))},
        {"damaged: holds 16 bytes of content, not the 15 it names", Wrap(2, 15, Bytes(16))},
        {"damaged: holds 16 bytes of content, not the 4294967295 it names", Wrap(2, -1u, Bytes(16))},
        {"damaged: the checksum does not match", Wrap(1, 16, Bytes(16), 0xcd00e82d)},
        {"malformed at byte 16: the document ends within a node", Wrap(2, 0, {}, 0x4dacfbea)},
        {"malformed at byte 32: bytes are left over behind the document", Wrap(2, 20, Bytes(20), 0xe25c69f7)},
    };
    for (auto const& [sFault, bytes] : cases) {
        Fault fault;
        bool const fRead = bool(DocumentFile::Read(bytes.data(), bytes.size(), fault));
        EXPECT_EQ(fRead, sFault.empty());
        EXPECT_EQ(fault.GetText().c_str(), sFault);
    }
}

class DocumentFileOnDisk : public testing::Test {
protected:
    std::string Save(std::string const& sName, DocumentNode const& document) {
        Fault fault;
        bool const fSaved = SaveDocument(m_folder.Path(sName).c_str(), document, fault);
        EXPECT_EQ(fSaved, fault.IsEmpty());
        return fault.GetText().c_str();
    }
    std::string Save(std::string const& sName, int nValue) { return Save(sName, *MakeDocument(nValue)); }
    /** The bytes of an attribute in a file, or what is wrong with it. */
    std::string Load(std::string const& sName, unsigned int nID = 1) const {
        Fault fault;
        Ref<DocumentNode> const pDocument = LoadDocument(m_folder.Path(sName).c_str(), fault);
        Bytes const bytes = pDocument ? GetBytes(*pDocument, nID) : Bytes();
        return pDocument ? std::string(bytes.begin(), bytes.end()) : fault.GetText().c_str();
    }

    kelvokit::test::TemporaryFolder m_folder;
    std::string const m_five = std::string("\5\0\0", 4);
    std::string const m_six = std::string("\6\0\0", 4);
};

TEST_F(DocumentFileOnDisk, SavingReplacesTheFileAndLeavesNothingElse) {
    std::string const sName = "sc\u00e8ne.kelvo";
    EXPECT_EQ(Save(sName, 5), "");
    EXPECT_EQ(Load(sName), m_five);
    int const nDescriptor = dup(1);
    close(nDescriptor);
    EXPECT_EQ(Save(sName, 6), "");
    EXPECT_EQ(Load(sName), m_six);
    EXPECT_EQ(dup(1), nDescriptor) << "files are closed again";
    close(nDescriptor);
    FileReplacement other;
    unsigned char const nByte = 'x';
    EXPECT_TRUE(other.Open(m_folder.Path(sName).c_str()) && other.Write(&nByte, 1) && other.Close() &&
                other.TakePlace());
    EXPECT_EQ(m_folder.ReadText(sName), "x");
    EXPECT_EQ(m_folder.List().size(), 1u);
}

TEST_F(DocumentFileOnDisk, SavingKeepsLinksAndPermissions) {
    fs::path const folder = m_folder.Path(".");
    fs::create_directory(folder / "far");
    fs::create_symlink("far/scene", folder / "near");
    fs::create_symlink(folder / "near", folder / "link");
    EXPECT_EQ(Save("link", 5), "") << "there is no file yet";
    EXPECT_EQ(Load("far/scene"), m_five);
    EXPECT_EQ(fs::status(folder / "far/scene").permissions() & fs::perms(0700), fs::perms(0600));
    fs::permissions(folder / "far/scene", fs::perms(0604));
    EXPECT_EQ(Save("link", 6), "");
    EXPECT_EQ(Load("far/scene"), m_six);
    EXPECT_EQ(fs::status(folder / "far/scene").permissions(), fs::perms(0604));
    EXPECT_TRUE(fs::is_symlink(folder / "link") && fs::is_symlink(folder / "near"));
    fs::create_symlink("loop", folder / "loop");
    EXPECT_NE(Save("loop", 5), "");
    EXPECT_TRUE(fs::is_symlink(folder / "loop"));
}

TEST_F(DocumentFileOnDisk, LargeDocumentsComeBackWhole) {
    Ref<DocumentNode> const pDocument = MakeDocument(5);
    Bytes large(300000);
    for (std::size_t n = 0; n < large.size(); ++n) {
        large[n] = static_cast<unsigned char>(n * n >> 3);
    }
    AddBytes(*pDocument, 2, large);
    EXPECT_EQ(Save("large", *pDocument), "");
    EXPECT_TRUE(Load("large", 2) == std::string(large.begin(), large.end()));
}

TEST_F(DocumentFileOnDisk, WhatFailsNamesTheFileAndTheReasonAndLeavesAllAsItWas) {
    m_folder.WriteText("text", "no document at all");
    m_folder.WriteText("odd", "KELVODOC" + std::string(4089, '\0')); // its last byte is read by itself
    fs::create_directory(m_folder.Path("folder"));
    EXPECT_EQ(mkfifo(m_folder.Path("pipe").c_str(), 0600), 0);
    // The name is as long as names may be; the file that is written beside it first cannot be made.
    std::string const sLongest(255, 'n');
    m_folder.WriteText(sLongest, "old");
    Ref<DocumentNode> pDeep = MakeDocument(5);
    for (unsigned int n = 0; n < DocumentNode::MaximumDepth; ++n) {
        Ref<DocumentNode> const pParent(new DocumentNode(0, 0));
        pParent->AddChild(pDeep);
        pDeep = pParent;
    }
    std::pair<std::string, std::string> const cases[] = {
        {Load("missing"), "missing: cannot read: No such file or directory"},
        {Load("folder"), "folder: cannot read: Is a directory"},
        {Load("text"), "text: not a scene document"},
        {Load("odd"), "odd: damaged: holds 4077 bytes of content, not the 0 it names"},
        {Load("pipe"), "pipe: cannot read: not a regular file"}, // nobody writes: it would wait for ever
        {Save("pipe", 6), "pipe: cannot write: not a regular file"},
        {Save("folder", 6), "folder: cannot write: Is a directory"},
        {Save(sLongest, 6), sLongest + ": cannot write: File name too long"},
        {Save("deep", *pDeep), "deep: cannot write: the document is too large or nested too deep"},
    };
    for (auto const& [sError, sExpected] : cases) {
        EXPECT_EQ(sError, m_folder.Path(sExpected));
    }
    EXPECT_FALSE(FileReplacement().Open(m_folder.Path("pipe").c_str()));
    EXPECT_EQ(m_folder.List(), (std::vector<std::string>{"folder", sLongest, "odd", "pipe", "text"}));
    EXPECT_EQ(m_folder.ReadText(sLongest), "old");
    EXPECT_TRUE(fs::is_fifo(m_folder.Path("pipe")));
}

} // namespace
} // namespace trevik::kelvo
