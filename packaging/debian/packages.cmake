# `cpack -G DEB` in the build folder makes quorin-gateway and quorin-gateway-desktop.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quorin-gateway)
set(CPACK_PACKAGE_VENDOR "Quorin Gateway")
set(CPACK_PACKAGE_CONTACT "${QUORIN_MAINTAINER}")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_OUTPUT_FILE_PREFIX packages)

set(CPACK_COMPONENTS_ALL gateway desktop)
set(CPACK_COMPONENT_DESKTOP_DEPENDS gateway)
set(CPACK_COMPONENT_GATEWAY_DESCRIPTION
    "DICOM gateway from modalities and PACS to the cloud
Quorin Gateway stands beside a modality or a PACS. It takes images over the
DICOM network, keeps them safe, and sends them to a DICOMweb archive as
lossless JPEG-LS. For each image it knows whether it has arrived.

This package runs without a display, as a service of systemd. It needs no
library of windows; quorin-gateway-desktop has those.")
set(CPACK_COMPONENT_DESKTOP_DESCRIPTION
    "DICOM gateway from modalities and PACS to the cloud, windows
Quorin Gateway stands beside a modality or a PACS. It takes images over the
DICOM network, keeps them safe, and sends them to a DICOMweb archive as
lossless JPEG-LS. For each image it knows whether it has arrived.

This package has the windows: a dashboard, the log, what this computer and
the cloud hold, and a status item.")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_ENABLE_COMPONENT_DEPENDS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "${QUORIN_MAINTAINER}")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SECTION science)
set(CPACK_DEBIAN_GATEWAY_PACKAGE_NAME quorin-gateway)
set(CPACK_DEBIAN_DESKTOP_PACKAGE_NAME quorin-gateway-desktop)
# The small program alone, where systemd itself isn't there, as in a container. Without authorities nothing reaches a cloud.
set(CPACK_DEBIAN_GATEWAY_PACKAGE_DEPENDS "systemd-standalone-sysusers | systemd-sysusers, ca-certificates")
set(CPACK_DEBIAN_DESKTOP_PACKAGE_RECOMMENDS qt6-wayland)
set(CPACK_DEBIAN_GATEWAY_PACKAGE_CONTROL_EXTRA
    "${CMAKE_CURRENT_LIST_DIR}/postinst;${CMAKE_CURRENT_LIST_DIR}/prerm;${CMAKE_CURRENT_LIST_DIR}/postrm")
include(CPack)
