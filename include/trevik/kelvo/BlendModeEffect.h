#pragma once

#include "trevik/Export.h"
#include "trevik/kelvo/Effect.h"

namespace trevik::kelvo {

/** Draws sprites whose blend mode is not the plain one (see BlendMode). */
class TREVIK_API BlendModeEffect : public Effect {
public:
    static constexpr unsigned int ClassID = HashName("BlendModeEffect");
    static bool IsOwnOrBaseID(unsigned int nClassID) {
        return nClassID == ClassID || Effect::IsOwnOrBaseID(nClassID);
    }

    BlendModeEffect();
    BlendModeEffect(BlendModeEffect const& other);
    ~BlendModeEffect() override;

    void RegisterProperties() override;
};

} // namespace trevik::kelvo
