#pragma once

#include <orn/math/OrnMath.h>
#include <orn/math/TOrnPropList.h>
#include <orn/scene/TOrnCustomController.h>

#include <array>
#include <string>

namespace orn {

/// The motions a mouse controller may make. Only teMoveX, teMoveY, teMoveZ and teTurnY have an
/// effect; teTurnX and teTurnZ are kept in the set but do nothing.
enum TOrnCntrlFlag { teMoveX, teMoveY, teMoveZ, teTurnX, teTurnY, teTurnZ };
using TOrnCntrlFlags = TSet<TOrnCntrlFlag>;

inline constexpr std::array<const char*, 6> kCntrlFlagNames{"teMoveX", "teMoveY", "teMoveZ",
                                                            "teTurnX", "teTurnY", "teTurnZ"};
inline constexpr TOrnCntrlFlags kAllCntrlFlags{teMoveX, teMoveY, teMoveZ, teTurnX, teTurnY, teTurnZ};

/// Moves and turns the controlled component by dragging. The primary drag (left button, or the
/// right one with SwitchButtons) moves along Y (vertical motion) and turns about Y (horizontal
/// motion); the secondary drag moves sideways (horizontal) and forward (vertical).
class TOrnMouseController : public TOrnCustomController {
    ORN_CLASS(TOrnMouseController)
public:
    explicit TOrnMouseController(TComponent* owner) : TOrnCustomController(owner) {}

    /// Stores the reference and, for a component, sets its transformation order to toRotTraSca.
    void SetControlled(TOrnTransformed* component) override;

    /// Turn speed; SetTurnSensitivity stores max(value, 1).
    int TurnSensitivity() const { return fTurnSensitivity; }
    void SetTurnSensitivity(int value);
    /// Move speed; SetMoveSensitivity stores max(value, 1).
    int MoveSensitivity() const { return fMoveSensitivity; }
    void SetMoveSensitivity(int value);
    TOrnCntrlFlags CntrlFlags() const { return fCntrlFlags; }
    void SetCntrlFlags(TOrnCntrlFlags value);
    /// Swaps the roles of the left and right button.
    bool SwitchButtons() const { return fSwitchButtons; }
    void SetSwitchButtons(bool value);

    /// 0 no drag, 1 primary drag, 2 secondary drag.
    int DragMode() const { return fDragMode; }

    /// Starts a drag (the middle button keeps the current mode); never reports a change.
    bool HandleMouseDown(TMouseButton button, TShiftState shift, int x, int y) override;
    /// Applies the drag since the last position; true while a drag is on, even when the flags
    /// allow no motion.
    bool HandleMouseMove(TShiftState shift, int x, int y) override;
    /// Ends the drag, whichever button went up.
    bool HandleMouseUp(TMouseButton button, TShiftState shift, int x, int y) override;

    /// Turns the controlled component about Y by angle degrees.
    void TurnY(double angle);
    /// Moves the controlled component sideways by d (along CalcVecX, without its y part).
    void MoveX(double d);
    /// Moves the controlled component up by d.
    void MoveY(double d);
    /// Moves the controlled component forward by d (along CalcVecZ).
    void MoveZ(double d);
    /// The sideways vector for the rotation angles in radians (rx is not used).
    static TOrnMathVector CalcVecX(double rx, double ry, double rz);
    /// The forward vector for the rotation angles in radians.
    static TOrnMathVector CalcVecZ(double rx, double ry, double rz);

    ORN_DECLARE_PROPERTIES(TOrnMouseController)

    /// The set as flag names joined by commas ("teMoveX,teTurnY"); "" for the empty set.
    static std::string CntrlFlagsToString(TOrnCntrlFlags flags);
    /// Parses CntrlFlagsToString's text (spaces and brackets allowed, letter case ignored); def
    /// when a name is unknown.
    static TOrnCntrlFlags CntrlFlagsFromString(const std::string& text, TOrnCntrlFlags def);

private:
    /// The controlled component's rotation angles in radians.
    TOrnMathVector Radians() const;

    int fLastX = 0;
    int fLastY = 0;
    int fDragMode = 0;
    int fTurnSensitivity = 128;
    int fMoveSensitivity = 128;
    TOrnCntrlFlags fCntrlFlags = kAllCntrlFlags;
    bool fSwitchButtons = false;
};

} // namespace orn
