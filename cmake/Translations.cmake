# Message catalogues: po/LANGUAGE.po becomes share/locale/LANGUAGE/LC_MESSAGES/siftwell.mo beside bin/,
# in the build tree as after installing.
#
# The target `pot` gathers the texts of the code into po/siftwell.pot for translators.
find_program(MSGFMT msgfmt REQUIRED)
find_program(XGETTEXT xgettext REQUIRED)

file(GLOB CATALOGUES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/po/*.po)
foreach(catalogue ${CATALOGUES})
    cmake_path(GET catalogue STEM language)
    set(folder ${PROJECT_BINARY_DIR}/share/locale/${language}/LC_MESSAGES)
    file(MAKE_DIRECTORY ${folder})
    add_custom_command(OUTPUT ${folder}/siftwell.mo
        COMMAND ${MSGFMT} --check -o ${folder}/siftwell.mo ${catalogue}
        DEPENDS ${catalogue})
    list(APPEND COMPILED_CATALOGUES ${folder}/siftwell.mo)
    install(FILES ${folder}/siftwell.mo
        DESTINATION ${CMAKE_INSTALL_LOCALEDIR}/${language}/LC_MESSAGES)
endforeach()
add_custom_target(translations ALL DEPENDS ${COMPILED_CATALOGUES})

add_custom_target(pot
    COMMAND sh -c "find src -name '*.cpp' -o -name '*.h' | sort | xargs ${XGETTEXT} --c++ --from-code=UTF-8 -k_ -kq_ -kN_ -o po/siftwell.pot"
    WORKING_DIRECTORY ${PROJECT_SOURCE_DIR}
    VERBATIM)
