#pragma once

/** The interface that a service offers for the firmware of its devices. */
inline constexpr const char* firmwareUpdater =
    "com.mervax.Firmware.Device.Updater";
