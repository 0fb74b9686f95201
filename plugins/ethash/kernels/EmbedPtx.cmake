# cmake -D PTX=file -D SOURCE=file.cpp -P EmbedPtx.cmake: writes the C++ source whose EthashPtx() returns the file's text.
file(READ ${PTX} text)
file(WRITE ${SOURCE} "#include \"ethash/kernels/EthashPtx.h\"

const char* EthashPtx() noexcept {
    return R\"ptx(${text})ptx\";
}
")
