#pragma once

#include "trevik/Referenced.h"
#include "trevik/Size.h"
#include "trevik/Types.h"
#include "trevik/Vector.h"

namespace trevik::kelvo {

class GraphicsDevice;
class Sprite;
class TextGL2;
template <class T>
class BaseProperty;

/**
 * Keeps the sprite behind a text (Text::GetBackground) fitted to the text, and draws it. The sprite covers
 * the text's render rectangle, widened by the content margins of a nine-patch, wherever the text is moved,
 * turned, scaled and stretched, below any parent.
 *
 * Scale and pivot are fitted when a watched property of the text has changed: box, render size, scale,
 * stretch and pivot. Every draw sets the sprite's size, and copies position, rotation, opacity, visibility,
 * camera depth and selectability, which do not change the fit. The sprite's place within the fit is its
 * pivot, which is added before scaling and therefore divided by the sprite's scale; the text's own pivot is
 * part of that sum as it is, not scaled with the text.
 *
 * Render thread. Belongs to the text, which destroys it with itself: the handlers that it has connected to
 * the text's properties stay connected.
 */
class TextImageBackground : public Referenced {
public:
    /** Watches the text's properties; the sprite is fitted at the first draw. Both are borrowed. */
    TextImageBackground(TextGL2* pText, Sprite* pSprite);
    ~TextImageBackground() override = default;
    TextImageBackground(TextImageBackground const&) = delete;
    TextImageBackground& operator=(TextImageBackground const&) = delete;

    /**
     * Connects to the change events of the five watched properties of the text, if there is one. Those for
     * which there is no memory are tried again at every draw; until then each one fits the sprite.
     */
    void ConnectPropertyEvent();
    /** The sprite to be fitted and drawn from now on, a SpriteGL2 or null; another one is fitted anew. */
    void SetSprite(Sprite* pSprite);
    /**
     * Brings the sprite up to the text. False, when there is nothing to draw: no sprite, no texture or no
     * memory.
     */
    bool UpdateSpriteProperty();
    /** Fits the sprite, updates it in the space that the text stands in, and draws it. */
    void InternalRenderSprite(GraphicsDevice& device);

private:
    static constexpr unsigned int WatchedProperties = 5;

    bool ConnectNext();
    template <class T>
    bool Connect(BaseProperty<T>& property, void (TextImageBackground::*pfnChanged)(T const&));
    bool RebuildCorners(RealFloat width, RealFloat height);
    void FitSprite(RealFloat width, RealFloat height);
    void CopyProperties();
    void SetSpriteSize(int nWidth, int nHeight);
    void OnSizeChanged(SizeT<RealFloat> const& size);
    void OnVectorChanged(Vector3T<RealFloat> const& value);

    bool m_fDirty = true;          ///< a watched property has changed since the last fit
    Sprite* m_pSprite;             ///< borrowed: the text's background, as of the last draw
    TextGL2* m_pText;              ///< borrowed
    unsigned int m_nConnected = 0; ///< of the watched properties, in the order in which they are connected
};

} // namespace trevik::kelvo
