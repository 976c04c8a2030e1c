# SPDX-License-Identifier: GPL-3.0-or-later
# SPDX-FileCopyrightText: 2026 The Power Analyzer developers
# What Windows and macOS users download, made by cpack in the build folder:
#   Windows: an installer (NSIS) and a portable ZIP; the programs in bin/ with the Qt
#            libraries beside them (windeployqt), the libraries vcpkg built for them
#            (libmosquitto) and the C++ runtime, the manuals in bin/help.
#   macOS:   a disk image with "Power Analyzer.app": the three programs in Contents/MacOS
#            with the manuals in its help folder, Qt and the Homebrew libraries inside the
#            bundle (macdeployqt).
# Help > User Manual looks in the help folder beside the program, as in the build folder.
set(CPACK_PACKAGE_NAME PowerAnalyzer)
set(CPACK_PACKAGE_VENDOR "Power Analyzer developers")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Desktop companion program of the KV2260 power analyzer")
set(CPACK_PACKAGE_INSTALL_DIRECTORY "Power Analyzer")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(qt_bin ${QT6_INSTALL_PREFIX}/${QT6_INSTALL_BINS})

if(WIN32)
    # The desktop program opens no console window.
    set_target_properties(poweranalyzer PROPERTIES WIN32_EXECUTABLE ON)
    install(TARGETS poweranalyzer poweranalyzer-cli RUNTIME DESTINATION bin)
    install(FILES ${PA_MANUAL_PDFS} DESTINATION bin/help)
    install(FILES ${PROJECT_SOURCE_DIR}/LICENSE DESTINATION . RENAME LICENSE.txt)
    # vcpkg copies the libraries it built beside the programs in the build folder.
    install(CODE "file(GLOB dlls \"${PROJECT_BINARY_DIR}/*.dll\")
                  file(INSTALL \${dlls} DESTINATION \"\${CMAKE_INSTALL_PREFIX}/bin\")")
    set(CMAKE_INSTALL_SYSTEM_RUNTIME_DESTINATION bin)
    include(InstallRequiredSystemLibraries)
    find_program(WINDEPLOYQT windeployqt HINTS ${qt_bin} REQUIRED)
    install(CODE "execute_process(
        COMMAND \"${WINDEPLOYQT}\" --release --no-compiler-runtime
                \"\${CMAKE_INSTALL_PREFIX}/bin/poweranalyzer.exe\"
                \"\${CMAKE_INSTALL_PREFIX}/bin/poweranalyzer-cli.exe\"
        COMMAND_ERROR_IS_FATAL ANY)")
    set(CPACK_GENERATOR NSIS ZIP)
    set(CPACK_PACKAGE_EXECUTABLES poweranalyzer "Power Analyzer")
    set(CPACK_NSIS_INSTALLED_ICON_NAME bin\\\\poweranalyzer.exe)
    set(CPACK_NSIS_DISPLAY_NAME "Power Analyzer ${PROJECT_VERSION}")
    set(CPACK_NSIS_ENABLE_UNINSTALL_BEFORE_INSTALL ON)
elseif(APPLE)
    set(app "Power Analyzer.app")
    install(TARGETS poweranalyzer poweranalyzer-cli poweranalyzer-sim
            RUNTIME DESTINATION "${app}/Contents/MacOS")
    install(FILES ${PA_MANUAL_PDFS} DESTINATION "${app}/Contents/MacOS/help")
    file(CONFIGURE OUTPUT Info.plist CONTENT [[<?xml version="1.0" encoding="UTF-8"?>
<!DOCTYPE plist PUBLIC "-//Apple//DTD PLIST 1.0//EN" "http://www.apple.com/DTDs/PropertyList-1.0.dtd">
<plist version="1.0">
<dict>
  <key>CFBundleExecutable</key><string>poweranalyzer</string>
  <key>CFBundleIdentifier</key><string>org.poweranalyzer.PowerAnalyzer</string>
  <key>CFBundleName</key><string>Power Analyzer</string>
  <key>CFBundlePackageType</key><string>APPL</string>
  <key>CFBundleShortVersionString</key><string>@PROJECT_VERSION@</string>
  <key>CFBundleVersion</key><string>@PROJECT_VERSION@</string>
  <key>NSHighResolutionCapable</key><true/>
</dict>
</plist>
]] @ONLY)
    install(FILES ${CMAKE_CURRENT_BINARY_DIR}/Info.plist DESTINATION "${app}/Contents")
    find_program(MACDEPLOYQT macdeployqt HINTS ${qt_bin} REQUIRED)
    install(CODE "execute_process(
        COMMAND \"${MACDEPLOYQT}\" \"\${CMAKE_INSTALL_PREFIX}/${app}\"
                \"-executable=\${CMAKE_INSTALL_PREFIX}/${app}/Contents/MacOS/poweranalyzer-cli\"
                \"-executable=\${CMAKE_INSTALL_PREFIX}/${app}/Contents/MacOS/poweranalyzer-sim\"
        COMMAND_ERROR_IS_FATAL ANY)")
    # The disk image shows the application beside a link to Applications, to drag it onto.
    install(CODE "file(CREATE_LINK /Applications \"\${CMAKE_INSTALL_PREFIX}/Applications\" SYMBOLIC)")
    set(CPACK_GENERATOR DragNDrop)
    set(CPACK_DMG_VOLUME_NAME "Power Analyzer ${PROJECT_VERSION}")
    # The licence is in the About box and the repository; no agreement to click through.
    set(CPACK_DMG_SLA_USE_RESOURCE_FILE_LICENSE OFF)
endif()
include(CPack)
