#include "kelvo_host/DocumentFile.h"

#include "Checksum.h"
#include "DocumentPacker.h"
#include "PackedBytes.h"
#include "PackedDocument.h"
#include "kelvo_host/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace trevik::kelvo {

namespace {

constexpr unsigned char Magic[8] = {'K', 'E', 'L', 'V', 'O', 'D', 'O', 'C'};
constexpr unsigned int HeaderLength = sizeof(Magic) + 8;
constexpr unsigned int ChecksumLength = 4;
constexpr unsigned int FrameLength = HeaderLength + ChecksumLength;

/** Appends a document as one version has it; false, with something appended, when it cannot be. */
bool AppendFile(DocumentNode const& document, unsigned int nVersion, List<unsigned char>& bytes) {
    unsigned int const nStart = bytes.GetCount();
    if (!AppendBytes(bytes, Magic, sizeof(Magic)) || !AppendWord(bytes, nVersion) || !AppendWord(bytes, 0)) {
        return false;
    }
    unsigned int const nPayload = bytes.GetCount();
    if (nVersion > DocumentFile::UnpackedVersion ? !DocumentPacker::Pack(document, bytes)
                                                 : !document.Write(bytes)) {
        return false;
    }
    PutWord(bytes.GetData() + nPayload - 4, bytes.GetCount() - nPayload);
    return AppendWord(bytes, GetChecksum(bytes.GetData() + nStart, bytes.GetCount() - nStart));
}

/** An open file, closed at the end of its scope. */
class File {
public:
    explicit File(int nDescriptor) : m_nDescriptor(nDescriptor) {}
    ~File() {
        if (m_nDescriptor >= 0) {
            close(m_nDescriptor);
        }
    }
    File(File const&) = delete;
    File& operator=(File const&) = delete;

    bool IsOpen() const { return m_nDescriptor >= 0; }
    int Get() const { return m_nDescriptor; }

private:
    int m_nDescriptor;
};

Fault FaultOf(char const* pPath, char const* pAction, char const* pWhy) {
    return Fault(String16::Format(u"%hs", pPath), pAction, String16::Format(u"%hs", pWhy));
}

/** Reads to the file's end, which may come later than its size says; false on a read error or when out of
 * memory (errno tells). */
bool ReadAll(int nDescriptor, long long nSize, List<unsigned char>& bytes) {
    if (nSize < 0xffffffff) {
        bytes.Reserve(static_cast<unsigned int>(nSize) + 1); // one more, to see that it ends there
    }
    unsigned int nCount = 0;
    for (;;) {
        if (nCount == bytes.GetCount()) {
            unsigned int const nLarger = nCount < 0x80000000u ? nCount + nCount / 2 + 4096 : 0xffffffffu;
            unsigned int const nReserved = bytes.GetCapacity();
            if (nCount == 0xffffffffu || !bytes.Resize(nReserved > nCount ? nReserved : nLarger)) {
                errno = nCount == 0xffffffffu ? EFBIG : ENOMEM;
                return false;
            }
        }
        ssize_t const nRead = read(nDescriptor, bytes.GetData() + nCount, bytes.GetCount() - nCount);
        if (nRead < 0 && errno != EINTR) {
            return false;
        }
        if (nRead == 0) {
            return bytes.Resize(nCount);
        }
        nCount += nRead > 0 ? static_cast<unsigned int>(nRead) : 0;
    }
}

/** Whether a path leads to something that is neither a file nor a folder. */
bool IsSpecial(struct stat const& status) {
    return !S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode);
}

/** Whether the bytes begin as scenes written by hand do: with a brace, or a remark ahead of it. */
bool MayBeJson(unsigned char const* pData, unsigned long nLength) {
    auto const isSpace = [](unsigned char unit) {
        return unit == ' ' || unit == '\t' || unit == '\r' || unit == '\n';
    };
    unsigned char const* const pFirst = std::find_if_not(pData, pData + nLength, isSpace);
    return pFirst != pData + nLength && (*pFirst == '{' || *pFirst == '/');
}

/** Whether all around a file's payload is right; says the version. */
bool CheckFrame(unsigned char const* pData, unsigned long nLength, unsigned int& nVersion, Fault& fault) {
    if (nLength < sizeof(Magic) || std::memcmp(pData, Magic, sizeof(Magic)) != 0) {
        char const* const pWhy =
            MayBeJson(pData, nLength)
                ? "JSON is read by assets::ReadScene, and kelvo-player --save makes a document of it"
                : "";
        fault = Fault(String8(), "not a scene document", pWhy);
        return false;
    }
    if (nLength < FrameLength) {
        fault = Fault(String8(), "cut short", String16::Format(u"%lu bytes", nLength));
        return false;
    }
    nVersion = GetWord(pData + sizeof(Magic));
    if (nVersion > DocumentFile::CurrentVersion) {
        fault =
            Fault(String8(), String16::Format(u"version %u; this program reads versions %u to %u", nVersion,
                                              DocumentFile::MinimumVersion, DocumentFile::CurrentVersion));
        return false;
    }
    unsigned long const nPayloadLength = GetWord(pData + sizeof(Magic) + 4);
    if (nPayloadLength != nLength - FrameLength) {
        fault = Fault(String8(), "damaged",
                      String16::Format(u"holds %lu bytes of content, not the %lu it names",
                                       nLength - FrameLength, nPayloadLength));
        return false;
    }
    unsigned long const nEnd = nLength - ChecksumLength;
    if (GetWord(pData + nEnd) != GetChecksum(pData, nEnd)) {
        fault = Fault(String8(), "damaged", "the checksum does not match");
        return false;
    }
    return true;
}

Fault MalformedAt(unsigned long nOffset, char const* pProblem) {
    return Fault(String8(), String16::Format(u"malformed at byte %lu", HeaderLength + nOffset), pProblem);
}

/** Reads a whole file of a version that is not packed. */
Ref<DocumentNode> ReadPlain(unsigned char const* pData, unsigned long nLength, Fault& fault) {
    char const* pProblem = nullptr;
    unsigned long nOffset = 0;
    Ref<DocumentNode> pDocument =
        DocumentNode::Read(pData + HeaderLength, nLength - FrameLength, &pProblem, &nOffset);
    if (!pDocument) {
        fault = MalformedAt(nOffset, pProblem);
    }
    return pDocument;
}

/** Reads a whole file that is packed, and takes its bytes over. */
Ref<DocumentNode> ReadPacked(List<unsigned char>& bytes, Fault& fault) {
    PackedDocument::Problem problem;
    unsigned int const nLength = bytes.GetCount() - FrameLength;
    Ref<PackedDocument> const pPacked = PackedDocument::Open(bytes, HeaderLength, nLength, problem);
    if (!pPacked) {
        fault = MalformedAt(problem.m_nOffset, problem.m_pText);
        return nullptr;
    }
    Ref<DocumentNode> pDocument = pPacked->MakeNode(pPacked->GetRoot());
    // The tables of shared objects, which are looked for among the topmost children, must not be missing
    // later.
    if (!pDocument || (pDocument->GetChildCount() != 0 && !pDocument->GetChild(0))) {
        fault = Fault(String8(), "memory is short");
        return nullptr;
    }
    return pDocument;
}

} // namespace

bool DocumentFile::Write(DocumentNode const& document, List<unsigned char>& bytes) {
    unsigned int const nStart = bytes.GetCount();
    for (unsigned int nVersion : {CurrentVersion, UnpackedVersion}) {
        if (AppendFile(document, nVersion, bytes)) {
            return true;
        }
        bytes.Resize(nStart);
    }
    return false;
}

Ref<DocumentNode> DocumentFile::Read(unsigned char const* pData, unsigned long nLength, Fault& fault) {
    unsigned int nVersion = 0;
    if (!CheckFrame(pData, nLength, nVersion, fault)) {
        return nullptr;
    }
    if (nVersion <= UnpackedVersion) {
        return ReadPlain(pData, nLength, fault);
    }
    List<unsigned char> bytes;
    if (!AppendBytes(bytes, pData, nLength)) {
        fault = Fault(String8(), "memory is short");
        return nullptr;
    }
    return ReadPacked(bytes, fault);
}

bool SaveDocument(char const* pPath, DocumentNode const& document, Fault& fault) {
    List<unsigned char> bytes;
    if (!DocumentFile::Write(document, bytes)) {
        fault = FaultOf(pPath, "cannot write", "the document is too large or nested too deep");
        return false;
    }
    // FileReplacement refuses a device or a pipe with a reason that says less.
    struct stat status;
    if (stat(pPath, &status) == 0 && IsSpecial(status)) {
        fault = FaultOf(pPath, "cannot write", "not a regular file");
        return false;
    }
    FileReplacement file;
    if (!file.Open(pPath) || !file.Write(bytes.GetData(), bytes.GetCount()) || !file.Sync() ||
        !file.Close() || !file.TakePlace()) {
        fault = FaultOf(pPath, "cannot write", std::strerror(errno));
        return false;
    }
    return true;
}

Ref<DocumentNode> LoadDocument(char const* pPath, Fault& fault) {
    // Opening a pipe would wait for a writer.
    File file(open(pPath, O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    List<unsigned char> bytes;
    struct stat status{};
    if (file.IsOpen() && fstat(file.Get(), &status) == 0 && IsSpecial(status)) {
        fault = FaultOf(pPath, "cannot read", "not a regular file");
        return nullptr;
    }
    if (!file.IsOpen() || !ReadAll(file.Get(), status.st_size, bytes)) {
        fault = FaultOf(pPath, "cannot read", std::strerror(errno));
        return nullptr;
    }
    unsigned int nVersion = 0;
    Ref<DocumentNode> pDocument;
    if (CheckFrame(bytes.GetData(), bytes.GetCount(), nVersion, fault)) {
        pDocument = nVersion <= DocumentFile::UnpackedVersion
                        ? ReadPlain(bytes.GetData(), bytes.GetCount(), fault)
                        : ReadPacked(bytes, fault);
    }
    if (!pDocument) {
        fault = fault.Within(String8(String16::Format(u"%hs", pPath)));
    }
    return pDocument;
}

} // namespace trevik::kelvo
