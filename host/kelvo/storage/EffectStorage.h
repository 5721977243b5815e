#pragma once

#include "trevik/List.h"

namespace trevik::kelvo {

class Deserializer;
class Effect;
class Mask;
class Serializer;
class TransformNode;

/** Writes each mask as a child "Mask" of the current document node. */
bool SaveMasks(Serializer& serializer, List<Mask*> const& masks);
/** Adds a mask to `node` for each child "Mask"; false, noted, when one does not fit. */
bool LoadMasks(Deserializer& deserializer, TransformNode& node);

/** Writes each effect as a child "Effect" of the type that its factory is registered under. */
bool SaveEffects(Serializer& serializer, List<Effect*> const& effects);
/** Adds an effect to `node` for each child "Effect"; false, noted, when one is unknown or does not fit. */
bool LoadEffects(Deserializer& deserializer, TransformNode& node);

} // namespace trevik::kelvo
