# Completes the files that are about to be packaged.
execute_process(
    COMMAND ${CPACK_QUOXELIN_SOURCE}/Packaging/Linux/package/complete
        ${CPACK_TEMPORARY_INSTALL_DIRECTORY} ${CPACK_PACKAGE_VERSION}
    COMMAND_ERROR_IS_FATAL ANY)
