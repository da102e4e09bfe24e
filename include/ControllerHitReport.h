// ControllerHitReport: one per character controller; hears about every object the controller's
// own move runs into. A wolf that runs into a sheep catches it; nothing else happens.
#pragma once

class Object3D;

class ControllerHitReport {
public:
    virtual ~ControllerHitReport() = default;

    // The controller owned by `mover` touched `target` (either may be null) during its move.
    virtual void onShapeHit(Object3D* mover, Object3D* target);
    // Another controller pushed this one: nothing happens.
    void onControllerHit(Object3D* mover, Object3D* other) {
        (void)mover;
        (void)other;
    }

protected:
    // The wolf has caught the sheep; with path search on, the catch goes through the waypoints.
    virtual void wolfCaughtSheep(Object3D* wolf, Object3D* sheep, bool pathSearch);
};
