#include "font/BMFontTag.h"

#include <pugixml.hpp>

#include <algorithm>
#include <new>

namespace trevik::kelvo::assets {

namespace {

/** Lines of places in a text that are asked for in their order. */
class LineCounter {
public:
    explicit LineCounter(ByteSpan text) : m_text(text) {}

    std::size_t GetLine(std::ptrdiff_t offset) {
        std::size_t const end =
            std::min(static_cast<std::size_t>(std::max<std::ptrdiff_t>(offset, 0)), m_text.size);
        for (; m_nPosition < end; ++m_nPosition) {
            m_nLine += m_text.data[m_nPosition] == '\n';
        }
        return m_nLine;
    }

private:
    ByteSpan m_text;
    std::size_t m_nPosition = 0;
    std::size_t m_nLine = 1;
};

/** Passes the elements inside `parent` on: those of a font, and those in their lists. */
void ReadElements(pugi::xml_node parent, int nDepth, LineCounter& lines, BMFontTagReader& reader) {
    BMFontTag tag;
    for (pugi::xml_node const element : parent.children()) {
        if (element.type() != pugi::node_element) {
            continue;
        }
        tag.name = element.name();
        tag.line = lines.GetLine(element.offset_debug());
        tag.attributes.clear();
        for (pugi::xml_attribute const attribute : element.attributes()) {
            tag.attributes.emplace_back(attribute.name(), attribute.value());
        }
        reader.Read(tag);
        if (nDepth > 1) {
            ReadElements(element, nDepth - 1, lines, reader);
        }
    }
}

} // namespace

void ReadBMFontXml(ByteSpan text, BMFontDescription& description) {
    pugi::xml_document document;
    pugi::xml_parse_result const result =
        document.load_buffer(text.data, text.size, pugi::parse_default, pugi::encoding_utf8);
    LineCounter lines(text);
    if (result.status == pugi::status_out_of_memory) {
        throw std::bad_alloc();
    }
    if (!result) {
        ThrowFault(lines.GetLine(result.offset), std::string("is no XML: ") + result.description());
    }
    pugi::xml_node const font = document.document_element();
    if (std::string_view(font.name()) != "font") {
        ThrowFault(lines.GetLine(font.offset_debug()), "the outermost element is not \"font\"");
    }
    BMFontTagReader reader(description);
    ReadElements(font, 2, lines, reader);
    reader.Finish();
}

} // namespace trevik::kelvo::assets
