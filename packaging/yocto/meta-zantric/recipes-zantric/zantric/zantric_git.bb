SUMMARY = "Service tool for a server's PCIe devices, run on its BMC"
DESCRIPTION = "Lists, changes, updates and attests PCIe devices by way of the \
BMC's daemons on the system D-Bus."
LICENSE = "Apache-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=3b83ef96387f14655fc854ddc3c6bd57"

DEPENDS = "boost nlohmann-json phosphor-logging sdbusplus systemd"

SRC_URI = " \
    ${ZANTRIC_GIT};branch=${ZANTRIC_BRANCH} \
    file://run-ptest \
"
SRCREV = "79f275fdaa3e53ef0b93430f8075ae919d912cd4"
PV = "0.2.0+git"

inherit meson pkgconfig ptest

PACKAGECONFIG ??= " \
    attest \
    ${@bb.utils.contains('PTEST_ENABLED', '1', 'simulator tests', '', d)} \
"
PACKAGECONFIG[attest] = "-Dattest=enabled,-Dattest=disabled,libspdm openssl"
PACKAGECONFIG[simulator] = "-Dsim=enabled,-Dsim=disabled,openssl"
# The end-to-end tests name the simulator, so they are built together.
PACKAGECONFIG[tests] = "-Dtests=enabled,-Dtests=disabled,googletest"

# What an image attests with is libspdm, and never the stand-in in the tree.
EXTRA_OEMESON = "--wrap-mode=nofallback"

do_install_ptest() {
    install -d ${D}${PTEST_PATH}
    for program in tool/tool_test sim/sim_test; do
        install -m 0755 ${B}/test/$program ${D}${PTEST_PATH}
    done
    install -m 0755 ${B}/sim/bmcsim ${D}${PTEST_PATH}
}

# The module and the crypto library under it are for images that attest.
PACKAGES =+ "${@bb.utils.contains('PACKAGECONFIG', 'attest', '${PN}-attest', '', d)}"
SUMMARY:${PN}-attest = "${SUMMARY}: attestation over SPDM, on libspdm"
FILES:${PN}-attest = "${libdir}/zantric/zantric-attest.so"
RDEPENDS:${PN}-attest = "${PN} (= ${EXTENDPKGV})"

FILES:${PN} += " \
    ${datadir}/bash-completion \
    ${datadir}/dbus-1/system.d \
"
