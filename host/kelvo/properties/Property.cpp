#include "trevik/kelvo/Property.h"

#include "trevik/kelvo/BaseProperty.h"
#include "trevik/kelvo/RealProperty.h"
#include "trevik/kelvo/RectangleProperty.h"
#include "trevik/kelvo/Serializer.h"
#include "trevik/kelvo/Vector3Property.h"

namespace trevik::kelvo {

std::atomic<unsigned int> BasePropertyGeneration::s_nValue{1};

Property::~Property() = default;

Vector3Property::~Vector3Property() = default;

RectangleProperty::~RectangleProperty() = default;

RealProperty::~RealProperty() = default;

bool Property::Initialize(PropertyDescriptor const& descriptor) {
    m_nID = descriptor.m_nID;
    return true;
}

void Property::Update(UpdateContext const&, RealFloat const&) {}

bool Property::Save(Serializer& serializer) {
    return serializer.WriteValue(DocumentID::Name, m_nID);
}

void Property::Emit(MemoryTracer*) {}

} // namespace trevik::kelvo
