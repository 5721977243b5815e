#pragma once

#include "kelvo_host/Fault.h"
#include "trevik/Export.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/DocumentNode.h"

namespace trevik::kelvo {

/**
 * Documents as files: the 8 bytes "KELVODOC", a version stamp, the length of the payload (32 bits each,
 * little-endian), the payload and the CRC-32 of everything before it. The payload is a packed document from
 * version 3 on, and before that what DocumentNode::Write gives. Any thread, on its own document.
 */
struct TREVIK_API DocumentFile {
    /** Newest version stamp, which is written. */
    static constexpr unsigned int CurrentVersion = 3;
    /** Newest version stamp of documents that are not packed: written where a document packs all too well to
     * be trusted. */
    static constexpr unsigned int UnpackedVersion = 2;
    /** Oldest version stamp that is read. */
    static constexpr unsigned int MinimumVersion = 0;

    /**
     * Appends the file's bytes. False, with `bytes` unchanged, when the document is too large or memory is
     * short.
     */
    static bool Write(DocumentNode const& document, List<unsigned char>& bytes);
    /**
     * Reads the file's bytes. Null when they are no whole, undamaged document; `fault` then says why. The
     * nodes of a packed document are made when they are asked for.
     */
    static Ref<DocumentNode> Read(unsigned char const* pData, unsigned long nLength, Fault& fault);
};

/**
 * Writes a document to a file (its path in UTF-8). The file appears whole or not at all: a file that was
 * there stays until the new one is complete on disk, which then has its permissions (see FileReplacement).
 * False when that fails; `fault` then says what and why.
 */
TREVIK_API bool SaveDocument(char const* pPath, DocumentNode const& document, Fault& fault);

/** Reads a document from a file. Null when that fails; `fault` then says what and why. */
TREVIK_API Ref<DocumentNode> LoadDocument(char const* pPath, Fault& fault);

} // namespace trevik::kelvo
