################################################################################
#
# libsimcard
#
################################################################################

LIBSIMCARD_VERSION = 1.0.0
# This external tree lives in the library's checkout, two levels down.
LIBSIMCARD_SITE = $(BR2_EXTERNAL_LIBSIMCARD_PATH)/../..
LIBSIMCARD_SITE_METHOD = local
# Not the checkout's own build trees and caches.
LIBSIMCARD_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude='/build*' --exclude=/out
LIBSIMCARD_LICENSE = Proprietary
LIBSIMCARD_INSTALL_STAGING = YES
# json-for-modern-cpp: simcardctl's JSON output (headers only).
LIBSIMCARD_DEPENDENCIES = libupnp openssl json-for-modern-cpp
# cmake-package configures with BUILD_TESTING=OFF: no tests, no benchmarks.

$(eval $(cmake-package))
