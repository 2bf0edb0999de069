# The suppliers' libraries of a device's SDK, found with pkg-config, under the names that the
# stand-ins have otherwise. Set PKG_CONFIG_PATH and PKG_CONFIG_SYSROOT_DIR as the SDK says.

find_package(PkgConfig REQUIRED)

foreach(supplier pepper pepper_runtime sso_api vconf dlog ht)
  string(REPLACE "_" "-" package ${supplier})
  pkg_check_modules(${supplier} REQUIRED IMPORTED_TARGET ${package})
  add_library(SSO::${supplier} ALIAS PkgConfig::${supplier})
endforeach()
