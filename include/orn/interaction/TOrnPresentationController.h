#pragma once

#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnCustomController.h>

#include <array>

namespace orn {

enum TOrnPresentationMode { pmStop, pmLeft, pmRight };
inline constexpr std::array<const char*, 3> kPresentationModeNames{"pmStop", "pmLeft", "pmRight"};

/// Shows the controlled component from all sides: each Present call turns it one step in the
/// direction Mode says (Left, Right and End choose it), and Up and Down change its distance.
/// Everything that touches the controlled component does nothing while Controlled is nil.
class TOrnPresentationController : public TOrnCustomController {
    ORN_CLASS(TOrnPresentationController)
public:
    explicit TOrnPresentationController(TComponent* owner) : TOrnCustomController(owner) {}

    /// Also sets a component's transformation order to toRotTraSca.
    void SetControlled(TOrnTransformed* component) override;

    /// Degrees per Present; a negative value is ignored.
    float TurnAngle() const { return fTurnAngle; }
    void SetTurnAngle(float value);
    /// Distance change per press of Up or Down; a negative value is ignored.
    float DistanceStep() const { return fDistanceStep; }
    void SetDistanceStep(float value);
    TOrnPresentationMode Mode() const { return fMode; }
    void SetMode(TOrnPresentationMode value);
    /// The controlled component's height (translation Y); 0 without one.
    float EyeHeight() const;
    void SetEyeHeight(float value);
    /// The controlled component's distance (translation Z); 0 without one.
    float Distance() const;
    void SetDistance(float value);

    /// End stops, Left/Right choose the turn, Up/Down change the distance; false for other keys
    /// (Home included) and without Controlled.
    bool HandleKey(std::uint16_t key, TShiftState shift) override;

    /// Turns one TurnAngle step in Mode's direction; pmStop does nothing. Called periodically.
    void Present();

    ORN_DECLARE_PROPERTIES(TOrnPresentationController)

private:
    float fTurnAngle = 1.0f;
    float fDistanceStep = 0.1f;
    TOrnPresentationMode fMode = pmStop;
};

} // namespace orn
