// SPDX-License-Identifier: MIT
// The example boards as hardware: what follows when something is written, pulled or plugged.
#include <gtest/gtest.h>

#include <filesystem>

#include "bus_client.h"
#include "vchassis/chassis.h"

namespace vchassis_test {

using vchassis::Chassis;

namespace {

const std::filesystem::path kBoards = BOARDS;
constexpr const char *kBoard = "/dev/cpld0";
constexpr const char *kSlots = "/dev/cpld1";
constexpr const char *kFans = "/dev/fpga0";
constexpr const char *kSupplies = "/dev/i2c-2";

constexpr std::uint32_t kPeer = 0x08;
constexpr std::uint8_t kPeerPresent = 0x01;
constexpr std::uint8_t kPeerReady = 0x04;
constexpr std::uint32_t kSupplyPresence = 0x10;
constexpr std::uint32_t kPowerGood = 0x11;
constexpr std::uint32_t kInputFailure = 0x14;
constexpr std::uint64_t kLonger_us = 200'000;  // than any delay of the boards

unsigned rpm(const Chassis &chassis, std::uint32_t reg) {
    return chassis.reg(kFans, reg) | static_cast<unsigned>(chassis.reg(kFans, reg + 1)) << 8;
}

}  // namespace

TEST(DemoBoard, WiringAgreesWithTheRegistersAsTheyStart) {
    for (const char *board : {"demo", "demo-tlv", "demo-linecard"}) {
        SCOPED_TRACE(board);
        Chassis chassis(kBoards / board);
        const std::uint8_t idle = chassis.reg(kBoard, 0x00) == 0x47 ? 0xff : 0x00;
        EXPECT_EQ(chassis.reg(kBoard, 0x40), idle);
        chassis.advance_us(kLonger_us);
        EXPECT_EQ(chassis.reg(kBoard, 0x40), idle) << "nothing happened, so nothing is pending";
    }
    Chassis chassis(kBoards / "demo");
    EXPECT_EQ(chassis.reg(kBoard, kPowerGood), 0x07);
    EXPECT_EQ(chassis.reg(kSlots, 0x11), 0x34);
    EXPECT_EQ(chassis.reg(kSlots, 0x15), 0x81);
    EXPECT_EQ(rpm(chassis, 0x16), 6050U);
}

TEST(DemoBoard, RotorsFollowTheirSpeedRegisters) {
    Chassis chassis(kBoards / "demo");
    chassis.set_reg(kFans, 0x30, 0x40);
    EXPECT_EQ(rpm(chassis, 0x10), 3000U);
    EXPECT_EQ(rpm(chassis, 0x12), 5900U) << "the other rotor of the tray goes on";
    chassis.set_reg(kFans, 0x41, 0xfa);
    EXPECT_EQ(rpm(chassis, 0x14), 0U) << "tray 2 is pulled";
    EXPECT_EQ(chassis.reg(kBoard, 0x51), 0x02);
}

TEST(DemoBoard, ThePeerGoesDownWithItsResetAndComesBack) {
    Chassis chassis(kBoards / "demo");
    chassis.set_reg(kBoard, kPeer, 0x07);
    chassis.set_reg(kBoard, 0x0a, 1);
    chassis.advance_us(kLonger_us);
    EXPECT_EQ(chassis.reg(kBoard, kPeer), kPeerPresent);
    chassis.set_reg(kBoard, 0x0a, 0);
    EXPECT_EQ(chassis.reg(kBoard, kPeer), kPeerPresent) << "it boots";
    chassis.advance_us(kLonger_us);
    EXPECT_EQ(chassis.reg(kBoard, kPeer), kPeerPresent | kPeerReady) << "no longer master";
    EXPECT_EQ(chassis.reg(kBoard, 0x40), 0x08) << "its heartbeat changed";
}

TEST(DemoBoard, APulledSupplyStopsAnsweringAndInterrupts) {
    Chassis chassis(kBoards / "demo");
    EXPECT_EQ(read_from(kSupplies, 0x5b, 0x88, 2).size(), 2U);
    chassis.set_reg(kBoard, kSupplyPresence, 0xf2);
    EXPECT_EQ(transfer(kSupplies, 0x59, {put({0x88}), get(2)}).error, ENXIO);
    EXPECT_EQ(chassis.reg(kBoard, kPowerGood), 0x05);
    EXPECT_EQ(chassis.reg(kBoard, 0x50), 0x02);
    EXPECT_EQ(chassis.reg(kBoard, 0x41), 0x01);
    EXPECT_EQ(chassis.reg(kBoard, 0x40), 0x01);
    chassis.set_reg(kBoard, 0x50, 0x00);
    EXPECT_EQ(chassis.reg(kBoard, 0x40), 0x00) << "the cascade goes with its source";
    // Supply 4 gets its input voltage.
    chassis.set_reg(kBoard, kInputFailure, 0x00);
    chassis.advance_us(kLonger_us);
    EXPECT_EQ(chassis.reg(kBoard, kPowerGood), 0x0d);
    EXPECT_EQ(chassis.reg(kBoard, 0x50), 0x08);
}

TEST(DemoBoard, CardsArePoweredThroughTheirSwitches) {
    Chassis chassis(kBoards / "demo");
    chassis.set_reg(kSlots, 0x12, 0x3c);
    chassis.advance_us(kLonger_us);
    EXPECT_EQ(chassis.reg(kSlots, 0x11), 0x34) << "slot 4 is empty";
    chassis.set_reg(kSlots, 0x10, 0xc0);
    chassis.advance_us(kLonger_us);
    EXPECT_EQ(chassis.reg(kSlots, 0x11), 0x3c);
    EXPECT_EQ(chassis.reg(kBoard, 0x52), 0x02) << "slot 4 is the second line card";
    chassis.set_reg(kSlots, 0x16, 0x00);
    EXPECT_EQ(chassis.reg(kSlots, 0x15), 0x00);
}

TEST(DemoLineCard, APluggedModuleInterruptsUnlessMasked) {
    Chassis chassis(kBoards / "demo-linecard");
    chassis.set_reg(kBoard, 0x30, 0xf8);
    EXPECT_EQ(chassis.reg(kBoard, 0x41), 0xfd);
    EXPECT_EQ(chassis.reg(kBoard, 0x40), 0xfe);
    chassis.set_reg(kBoard, 0x48, 0xff);
    EXPECT_EQ(chassis.reg(kBoard, 0x40), 0xff);
}

}  // namespace vchassis_test
