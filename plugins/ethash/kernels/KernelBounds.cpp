#include "ethash/kernels/EthashPtx.h"
#include "ethash/kernels/KernelParameters.h"

bool SetMinBlocks(std::string& ptx, std::string_view kernel, unsigned blocks) {
    constexpr std::string_view kBound = "\n.minnctapersm ";
    // The name also stands in a comment and a declaration at the text's beginning: the definition's body follows its bounds.
    const std::string head = ".entry " + std::string(kernel) + "(";
    const std::size_t body = ptx.find("\n{", ptx.find(head));
    const std::size_t bound = ptx.rfind(kBound, body);
    if (body == std::string::npos || bound == std::string::npos || bound < ptx.rfind(head, body)) return false;
    const std::size_t number = bound + kBound.size();
    ptx.replace(number, ptx.find_first_not_of("0123456789", number) - number, std::to_string(blocks));
    return true;
}

std::string EthashPtxFor(int capabilityMajor) {
    std::string ptx = EthashPtx();
    if (capabilityMajor < 7) {
        SetMinBlocks(ptx, "ethash_search_4", kEthashMinBlocks4Capability6);
        SetMinBlocks(ptx, "ethash_search_8", kEthashMinBlocks8Capability6);
    }
    return ptx;
}
