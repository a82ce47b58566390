SUMMARY = "Audio Video Bridging daemon for a managed Ethernet switch"
LICENSE = "BSD-3-Clause"
LIC_FILES_CHKSUM = "file://LICENSE;md5=05d605b41b6b4fe5da2c363ac12c43a4"

# The project lies beside the layer; name its repository here instead where it has one.
inherit externalsrc cmake systemd useradd
EXTERNALSRC = "${THISDIR}/../../norvad3"

DEPENDS = "boost"
EXTRA_OECMAKE = "-DNORVAD_TESTS=OFF -DNORVAD_LAB=OFF -DNORVAD_UNIT_DIR=${systemd_system_unitdir}"

SYSTEMD_SERVICE:${PN} = "norvad3.service"
SYSTEMD_AUTO_ENABLE = "enable"

USERADD_PACKAGES = "${PN}"
USERADD_PARAM:${PN} = "--system --user-group --no-create-home --shell /sbin/nologin norvad"

FILES:${PN} += "${nonarch_libdir}/sysusers.d ${systemd_system_unitdir}"
RRECOMMENDS:${PN} = "logrotate"
