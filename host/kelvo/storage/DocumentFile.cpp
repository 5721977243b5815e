#include "kelvo_host/DocumentFile.h"

#include "kelvo_host/FileReplacement.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>

namespace trevik::kelvo {

namespace {

constexpr unsigned char Magic[8] = {'K', 'E', 'L', 'V', 'O', 'D', 'O', 'C'};
constexpr unsigned int HeaderLength = sizeof(Magic) + 8;
constexpr unsigned int ChecksumLength = 4;
constexpr unsigned int FrameLength = HeaderLength + ChecksumLength;

constexpr std::array<unsigned int, 256> MakeChecksumTable() {
    std::array<unsigned int, 256> table{};
    for (unsigned int nByte = 0; nByte < 256; ++nByte) {
        unsigned int nValue = nByte;
        for (int nBit = 0; nBit < 8; ++nBit) {
            nValue = (nValue & 1) != 0 ? nValue >> 1 ^ 0xedb88320u : nValue >> 1;
        }
        table[nByte] = nValue;
    }
    return table;
}

/** The CRC-32 that ZIP and PNG use. */
unsigned int GetChecksum(unsigned char const* pData, unsigned long nLength) {
    static constexpr std::array<unsigned int, 256> s_table = MakeChecksumTable();
    unsigned int nChecksum = 0xffffffffu;
    for (unsigned long n = 0; n < nLength; ++n) {
        nChecksum = nChecksum >> 8 ^ s_table[(nChecksum ^ pData[n]) & 0xff];
    }
    return ~nChecksum;
}

unsigned int GetWord(unsigned char const* pData) {
    return pData[0] | static_cast<unsigned int>(pData[1]) << 8 | static_cast<unsigned int>(pData[2]) << 16 |
           static_cast<unsigned int>(pData[3]) << 24;
}

bool AppendWord(List<unsigned char>& bytes, unsigned int nWord) {
    bool fAppended = true;
    for (int i = 0; i < 4; ++i) {
        fAppended = fAppended && bytes.Append(static_cast<unsigned char>(nWord >> (8 * i)));
    }
    return fAppended;
}

bool AppendFile(DocumentNode const& document, List<unsigned char>& bytes) {
    unsigned int const nStart = bytes.GetCount();
    for (unsigned char nByte : Magic) {
        if (!bytes.Append(nByte)) {
            return false;
        }
    }
    if (!AppendWord(bytes, DocumentFile::CurrentVersion) || !AppendWord(bytes, 0)) {
        return false;
    }
    unsigned int const nPayload = bytes.GetCount();
    if (!document.Write(bytes)) {
        return false;
    }
    unsigned int const nPayloadLength = bytes.GetCount() - nPayload;
    for (unsigned int i = 0; i < 4; ++i) {
        bytes[nPayload - 4 + i] = static_cast<unsigned char>(nPayloadLength >> (8 * i));
    }
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

/** Reads to the file's end; false on a read error or when out of memory (errno tells). */
bool ReadAll(int nDescriptor, List<unsigned char>& bytes) {
    unsigned int nCount = 0;
    for (;;) {
        if (nCount == bytes.GetCount()) {
            unsigned int const nLarger = nCount < 0x80000000u ? nCount + nCount / 2 + 4096 : 0xffffffffu;
            if (nCount == 0xffffffffu || !bytes.Resize(nLarger)) {
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

} // namespace

bool DocumentFile::Write(DocumentNode const& document, List<unsigned char>& bytes) {
    unsigned int const nStart = bytes.GetCount();
    if (AppendFile(document, bytes)) {
        return true;
    }
    bytes.Resize(nStart);
    return false;
}

Ref<DocumentNode> DocumentFile::Read(unsigned char const* pData, unsigned long nLength, Fault& fault) {
    if (nLength < sizeof(Magic) || std::memcmp(pData, Magic, sizeof(Magic)) != 0) {
        char const* const pWhy =
            MayBeJson(pData, nLength)
                ? "JSON is read by assets::ReadScene, and kelvo-player --save makes a document of it"
                : "";
        fault = Fault(String8(), "not a scene document", pWhy);
        return nullptr;
    }
    if (nLength < FrameLength) {
        fault = Fault(String8(), "cut short", String16::Format(u"%lu bytes", nLength));
        return nullptr;
    }
    unsigned int const nVersion = GetWord(pData + sizeof(Magic));
    if (nVersion > CurrentVersion) {
        fault = Fault(String8(), String16::Format(u"version %u; this program reads versions %u to %u",
                                                  nVersion, MinimumVersion, CurrentVersion));
        return nullptr;
    }
    unsigned long const nPayloadLength = GetWord(pData + sizeof(Magic) + 4);
    if (nPayloadLength != nLength - FrameLength) {
        fault = Fault(String8(), "damaged",
                      String16::Format(u"holds %lu bytes of content, not the %lu it names",
                                       nLength - FrameLength, nPayloadLength));
        return nullptr;
    }
    unsigned long const nEnd = nLength - ChecksumLength;
    if (GetWord(pData + nEnd) != GetChecksum(pData, nEnd)) {
        fault = Fault(String8(), "damaged", "the checksum does not match");
        return nullptr;
    }
    char const* pProblem = nullptr;
    unsigned long nOffset = 0;
    Ref<DocumentNode> pDocument =
        DocumentNode::Read(pData + HeaderLength, nPayloadLength, &pProblem, &nOffset);
    if (!pDocument) {
        fault =
            Fault(String8(), String16::Format(u"malformed at byte %lu", HeaderLength + nOffset), pProblem);
    }
    return pDocument;
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
    struct stat status;
    if (file.IsOpen() && fstat(file.Get(), &status) == 0 && IsSpecial(status)) {
        fault = FaultOf(pPath, "cannot read", "not a regular file");
        return nullptr;
    }
    if (!file.IsOpen() || !ReadAll(file.Get(), bytes)) {
        fault = FaultOf(pPath, "cannot read", std::strerror(errno));
        return nullptr;
    }
    Ref<DocumentNode> pDocument = DocumentFile::Read(bytes.GetData(), bytes.GetCount(), fault);
    if (!pDocument) {
        fault = fault.Within(String8(String16::Format(u"%hs", pPath)));
    }
    return pDocument;
}

} // namespace trevik::kelvo
