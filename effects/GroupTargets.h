#pragma once

#include "FrameTarget.h"
#include "GraphicsDeviceGL2.h"
#include "ShaderProgramGL2.h"
#include "trevik/List.h"
#include "trevik/Ref.h"
#include "trevik/kelvo/EffectResource.h"

namespace trevik::kelvo::effects {

/**
 * What all groups of a device share: a program, and a target for each level of groups inside of groups.
 * Groups of the same level follow each other in the same target. Render thread.
 */
class GroupTargets : public EffectResource {
public:
    GroupTargets();
    ~GroupTargets() override;

    /** False, traced, for drivers without stencil buffers for targets; and when the program does not compile.
     */
    bool Init(GraphicsDevice& device) override;
    /** Makes the target of the next group, of the viewport's size; false, traced, when it cannot be had. */
    bool Reserve();
    /** Begins a group: binds its target and clears it. False, with nothing changed, where Reserve is. */
    bool Begin(GraphicsDeviceGL2& device);
    /** Ends the group that was begun last: draws its target over what was bound before, with an opacity. */
    void End(GraphicsDeviceGL2& device, RealFloat opacity);

private:
    void Composite(GraphicsDeviceGL2& device, TextureGL2* pPicture, RealFloat opacity) const;

    Ref<ShaderProgramGL2> m_program;
    List<Ref<FrameTarget>> m_levels; ///< from the outermost group on
    unsigned int m_nOpen = 0;        ///< of them, those of groups that have begun and not ended
};

} // namespace trevik::kelvo::effects
