# What `cmake --install` puts under the prefix: the four programs, and the client's desktop entry
# and icon where desktops look for them. The client keeps its settings file beside itself only when
# that folder can be written; an installed one, in a folder its users cannot write, keeps it under
# $XDG_CONFIG_HOME/tillsight/ instead (src/settings/SettingsPath.h).
include(GNUInstallDirs)

install(TARGETS tillsight tillsight-site tillsight-viewer tillsight-report RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(FILES ${PROJECT_SOURCE_DIR}/data/desktop/tillsight.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${PROJECT_SOURCE_DIR}/data/desktop/tillsight.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
