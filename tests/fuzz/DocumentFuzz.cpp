// Reads the input as a document file and as a bare document. A document that can be read must be written and
// read back the same, and an object's properties are loaded from it and animated.

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "kelvo_host/DocumentFile.h"
#include "trevik/ClassRegistry.h"
#include "trevik/Debug.h"
#include "trevik/kelvo/HostProperties.h"
#include "trevik/kelvo/PropertyList.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/Texture.h"
#include "trevik/kelvo/Vector3Property.h"

using namespace trevik;
using namespace trevik::kelvo;

namespace {

void DropTrace(void*, TraceLevel::Enum, StringEncoded<UTF16Encoding> const&) {}

void CheckRoundTrip(DocumentNode const& document) {
    List<unsigned char> written;
    List<unsigned char> again;
    if (!document.Write(written)) {
        std::abort();
    }
    Ref<DocumentNode> pRead = DocumentNode::Read(written.GetData(), written.GetCount());
    if (!pRead || !pRead->Write(again) || again != written) {
        std::abort();
    }
}

void LoadProperties(Ref<DocumentNode> const& pDocument) {
    RealProperty opacity;
    Vector3Property position;
    StringProperty caption;
    PropertyList list;
    list.Register(u"Opacity", &opacity);
    list.Register(u"Position", &position);
    list.Register(u"Caption", &caption);
    ClassRegistry registry;
    Deserializer deserializer(pDocument, registry);
    list.Load(deserializer);
    if (deserializer.GetDepth() != 0) {
        std::abort();
    }
    for (RealFloat frame : {-2.0f, 0.0f, 0.5f, 3.0f, 1e10f}) {
        list.Update(UpdateContext(), frame);
    }
    Serializer serializer;
    if (!list.Save(serializer) || !serializer.Finish()) {
        std::abort();
    }
    deserializer.GetTexture(0);
}

void Examine(Ref<DocumentNode> const& pDocument) {
    if (pDocument) {
        CheckRoundTrip(*pDocument);
        LoadProperties(pDocument);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* pData, std::size_t nSize) {
    Debug::SetSink(DropTrace);
    String16 sError;
    Examine(DocumentFile::Read(pData, nSize, sError));
    char const* pError = nullptr;
    unsigned long nOffset = 0;
    Ref<DocumentNode> pBare = DocumentNode::Read(pData, nSize, &pError, &nOffset);
    if ((pBare == nullptr) != (pError != nullptr) || nOffset > nSize) {
        std::abort();
    }
    Examine(pBare);
    return 0;
}
