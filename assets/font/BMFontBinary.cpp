#include "font/BMFontDescription.h"

#include <cstring>
#include <string_view>

namespace trevik::kelvo::assets {

namespace {

constexpr std::size_t HeaderBytes = 4;
constexpr std::size_t BlockHeaderBytes = 5;
constexpr std::size_t InfoBytes = 14; ///< without the name of the face
constexpr std::size_t CommonBytes = 15;
constexpr std::size_t CharBytes = 20;
constexpr std::size_t KerningBytes = 10;

/** Little-endian numbers of a block of known size. */
struct Record {
    std::uint8_t const* data;

    int U8(std::size_t at) const { return data[at]; }
    int U16(std::size_t at) const { return data[at] | data[at + 1] << 8; }
    int I16(std::size_t at) const { return static_cast<std::int16_t>(U16(at)); }
    std::uint32_t U32(std::size_t at) const {
        return std::uint32_t(U16(at)) | std::uint32_t(U16(at + 2)) << 16;
    }
};

struct Block {
    int type;
    std::size_t place; ///< of the first byte after the block's header
    ByteSpan bytes;

    Record At(std::size_t offset) const { return {bytes.data + offset}; }
};

[[noreturn]] void RefuseSize(Block const& block, std::string const& expected) {
    ThrowFault(block.place, "block " + std::to_string(block.type) + " has " +
                                std::to_string(block.bytes.size) + " bytes; expected " + expected);
}

void ReadInfo(Block const& block, BMFontDescription& description) {
    if (block.bytes.size < InfoBytes) {
        RefuseSize(block, std::to_string(InfoBytes) + " or more");
    }
    description.SetSize(block.At(0).I16(0), block.place);
}

void ReadCommon(Block const& block, BMFontDescription& description) {
    if (block.bytes.size != CommonBytes) {
        RefuseSize(block, std::to_string(CommonBytes));
    }
    Record const record = block.At(0);
    BMFontDescription::Common common;
    common.lineHeight = record.U16(0);
    common.base = record.U16(2);
    common.scaleW = record.U16(4);
    common.scaleH = record.U16(6);
    common.pages = record.U16(8);
    // "Packed" is the last of eight bits, which writers count from either end; the others are unused.
    common.packed = (record.U8(10) & 0x81) != 0;
    common.alphaChannel = record.U8(11);
    common.place = block.place;
    description.SetCommon(common);
}

void ReadPages(Block const& block, BMFontDescription& description) {
    std::string_view const names(reinterpret_cast<char const*>(block.bytes.data), block.bytes.size);
    std::size_t begin = 0;
    for (int id = 0; begin < names.size(); ++id) {
        std::size_t const end = names.find('\0', begin);
        if (end == names.npos) {
            ThrowFault(block.place + begin, "the name of page " + std::to_string(id) + " does not end");
        }
        description.AddPage({id, std::string(names.substr(begin, end - begin)), block.place + begin});
        begin = end + 1;
    }
}

void ReadChars(Block const& block, BMFontDescription& description) {
    if (block.bytes.size % CharBytes != 0) {
        RefuseSize(block, std::to_string(CharBytes) + " for each character");
    }
    for (std::size_t offset = 0; offset < block.bytes.size; offset += CharBytes) {
        Record const record = block.At(offset);
        description.AddChar({record.U32(0), record.U16(4), record.U16(6), record.U16(8), record.U16(10),
                             record.I16(12), record.I16(14), record.I16(16), record.U8(18), record.U8(19),
                             block.place + offset});
    }
}

void ReadKernings(Block const& block, BMFontDescription& description) {
    if (block.bytes.size % KerningBytes != 0) {
        RefuseSize(block, std::to_string(KerningBytes) + " for each kerning pair");
    }
    for (std::size_t offset = 0; offset < block.bytes.size; offset += KerningBytes) {
        Record const record = block.At(offset);
        description.AddKerning({record.U32(0), record.U32(4), record.I16(8), block.place + offset});
    }
}

Block ReadBlock(ByteSpan file, std::size_t place) {
    if (file.size - place < BlockHeaderBytes) {
        ThrowFault(place, "the file ends inside the header of a block");
    }
    Block block{file.data[place], place + BlockHeaderBytes, {}};
    std::size_t const size = Record{file.data + place}.U32(1);
    if (size > file.size - block.place) {
        ThrowFault(place, "block " + std::to_string(block.type) + " says it has " + std::to_string(size) +
                              " bytes, but " + std::to_string(file.size - block.place) + " are left");
    }
    block.bytes = {file.data + block.place, size};
    return block;
}

} // namespace

void ReadBMFontBinary(ByteSpan bytes, BMFontDescription& description) {
    static constexpr void (*s_readers[])(Block const&, BMFontDescription&) = {ReadInfo, ReadCommon, ReadPages,
                                                                              ReadChars, ReadKernings};
    if (bytes.size < HeaderBytes || bytes.data[3] != 3) {
        ThrowFault(3, "is not in version 3 of the binary form, the only one that is read");
    }
    bool seen[5] = {};
    for (std::size_t place = HeaderBytes; place < bytes.size;) {
        Block const block = ReadBlock(bytes, place);
        if (block.type < 1 || block.type > 5) {
            ThrowFault(place, "block " + std::to_string(block.type) + " is none of 1 to 5");
        }
        std::size_t const which = static_cast<std::size_t>(block.type - 1);
        if (seen[which]) {
            ThrowFault(place, "there is a block " + std::to_string(block.type) + " already");
        }
        seen[which] = true;
        s_readers[which](block, description);
        place = block.place + block.bytes.size;
    }
}

} // namespace trevik::kelvo::assets
