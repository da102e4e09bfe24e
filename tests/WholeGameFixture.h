// WholeGameFixture: the real level played through the input manager at 30 cycles a second of the
// manual clock, with a renderer for the camera, and the moves of a scripted player: walk to a
// point, click, shoot an animal.
#pragma once

#include "AISheep.h"
#include "AIWolf.h"
#include "Camera.h"
#include "CharacterController.h"
#include "HUD.h"
#include "LevelFixture.h"
#include "List.h"
#include "Renderer.h"
#include "TextBitmap.h"

#include <GL/freeglut.h>

#include <cmath>
#include <cstdlib>
#include <functional>
#include <memory>
#include <string>

inline constexpr const char* kWon = "you won the game. hooray. press ESC to exit.";
inline constexpr const char* kLost = "you lost. hah. press ESC to exit.";
inline constexpr int kCyclesPerSecond = 30;
inline constexpr unsigned kSeed = 3;
// A rocket leaves 4 units above the ground; looking down this far it lands 3 to 8 units out,
// low enough to strike an animal's capsule on the way.
inline constexpr float kLookDown = 3.0f;
inline constexpr float kShootingRange = 7.0f;

inline float flatDistance(const Vector3D& a, const Vector3D& b) {
    return std::hypot(a.x - b.x, a.z - b.z);
}

class WholeGameFixture : public LevelFixture {
protected:
    void SetUp() override {
        LevelFixture::SetUp();
        renderer_ = std::make_unique<Renderer>(scene_);
        engine_->renderer = renderer_.get();
        engine_->mouseSensPitch = 1;
        engine_->mouseSensYaw = 1;
        scene_->prepare();
        // The level seeds the generator with the time; a fixed seed makes every run the same.
        std::srand(kSeed);
        playFor(1.0); // the herder lands
    }
    void TearDown() override {
        engine_->renderer = nullptr;
        LevelFixture::TearDown();
    }

    void playFor(double seconds) {
        for (long i = std::lround(seconds * kCyclesPerSecond); i > 0; --i) {
            play();
        }
    }
    // Plays until the condition holds or the time is up; whether it holds.
    bool playUntil(const std::function<bool()>& done, double seconds) {
        for (long i = std::lround(seconds * kCyclesPerSecond); i > 0; --i) {
            if (done()) {
                return true;
            }
            play();
        }
        return done();
    }
    std::string message() const { return HUD::getInstance()->message()->getText(); }
    Vector3D herderAt() const { return scene_->getPlayer()->getPosition(); }
    void click(int button) {
        InputManager::getInstance()->mouseButton(button, GLUT_DOWN, 512, 384);
        play();
        InputManager::getInstance()->mouseButton(button, GLUT_UP, 512, 384);
    }

    // Turns towards the point and walks until it is within `range`; false if it never gets there.
    bool approach(const Object3D* target, float range) {
        InputManager* input = InputManager::getInstance();
        for (int i = 0; i < 20 * kCyclesPerSecond; ++i) {
            const Vector3D p = target->getPosition();
            if (flatDistance(p, herderAt()) < range) {
                input->forwardHeld = false;
                face(p.x, p.z);
                play();
                return true;
            }
            face(p.x, p.z);
            input->forwardHeld = true;
            play();
        }
        input->forwardHeld = false;
        return false;
    }
    bool walkTo(const Vector3D& point) {
        Object3D marker;
        marker.setPosition(point);
        return approach(&marker, 2.5f);
    }
    // Walks into range of the animal, looks down, fires once and lets the rocket fly.
    void shootAt(const Object3D* animal) {
        approach(animal, kShootingRange);
        renderer_->getCamera()->height = kLookDown;
        click(GLUT_LEFT_BUTTON);
        playFor(0.5);
    }

    std::unique_ptr<Renderer> renderer_;
};
