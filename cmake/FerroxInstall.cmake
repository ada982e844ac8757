# What `cmake --install` puts in place besides the programs (the program
# targets install themselves): the Mac gaiji table the user can choose.
install(FILES ${PROJECT_SOURCE_DIR}/data/MacGaiji.txt DESTINATION share/ferrox OPTIONAL)
