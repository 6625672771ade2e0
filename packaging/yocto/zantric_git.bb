SUMMARY = "Service tool for a server's PCIe devices, run on its BMC"
DESCRIPTION = "Lists, changes, updates and attests PCIe devices by way of the \
BMC's daemons on the system D-Bus."
LICENSE = "Apache-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3b83ef96387f14655fc854ddc3c6bd57"

# Set ZANTRIC_GIT to where the tree is kept.
SRC_URI = "${ZANTRIC_GIT};branch=main"
SRCREV = "${AUTOREV}"
PV = "0.1.0+git${SRCPV}"
S = "${WORKDIR}/git"

DEPENDS = "boost nlohmann-json phosphor-logging sdbusplus systemd"

inherit meson pkgconfig

PACKAGECONFIG ??= "attest"
PACKAGECONFIG[attest] = "-Dattest=enabled,-Dattest=disabled,libspdm"

EXTRA_OEMESON = "-Dtests=disabled -Dsim=disabled"

FILES:${PN} += "${datadir}/dbus-1/system.d ${datadir}/bash-completion"
