NORVAD3_VERSION = 0.0.3
# The project lies beside Buildroot; name its repository here instead where it has one.
NORVAD3_SITE = $(TOPDIR)/../norvad3
NORVAD3_SITE_METHOD = local
NORVAD3_LICENSE = BSD-3-Clause
NORVAD3_LICENSE_FILES = LICENSE
NORVAD3_DEPENDENCIES = boost
NORVAD3_CONF_OPTS = -DNORVAD_TESTS=OFF -DNORVAD_LAB=OFF

define NORVAD3_USERS
	norvad -1 norvad -1 * - - - AVB bridge daemon
endef

define NORVAD3_INSTALL_INIT_SYSV
	$(INSTALL) -D -m 755 $(@D)/packaging/buildroot/S60norvad3 $(TARGET_DIR)/etc/init.d/S60norvad3
endef

$(eval $(cmake-package))
