# CPack runs this between installing into a folder of its own and packing that folder.

execute_process(
    COMMAND ${CMAKE_CURRENT_LIST_DIR}/stage ${CPACK_TEMPORARY_INSTALL_DIRECTORY} ${CPACK_PACKAGE_NAME}
        ${CPACK_PACKAGE_VERSION} ${CPACK_PACKAGE_CONTACT}
    COMMAND_ERROR_IS_FATAL ANY)
