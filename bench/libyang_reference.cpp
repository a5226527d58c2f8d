// SPDX-License-Identifier: Apache-2.0
//
// libyang at its leanest: strict parsing, output without blanks.
#include "libyang_reference.hpp"

#include <cstdlib>
#include <stdexcept>

#include "locate.hpp"

namespace zpf::bench {

namespace {

struct Free {
    void operator()(lyd_node* data) const noexcept { lyd_free_all(data); }
    void operator()(char* text) const noexcept { std::free(text); }
};
using Data = std::unique_ptr<lyd_node, Free>;

void check(LY_ERR result, const char* what)
{
    if (result != LY_SUCCESS) {
        throw std::runtime_error(std::string("libyang does not ") + what + " a message of the benchmark");
    }
}

Data parse(const ly_ctx& context, const std::string& text, uint32_t parse_options, uint32_t validate_options)
{
    lyd_node* raw = nullptr;
    const LY_ERR result = lyd_parse_data_mem(&context, text.c_str(), LYD_XML, parse_options, validate_options, &raw);
    Data data{raw};
    check(result, "parse");
    return data;
}

void print(const Data& data)
{
    char* raw = nullptr;
    const LY_ERR result = lyd_print_mem(&raw, data.get(), LYD_XML, LYD_PRINT_WITHSIBLINGS | LYD_PRINT_SHRINK);
    const std::unique_ptr<char, Free> text{raw};
    check(result, "print");
}

} // namespace

LibyangReference::LibyangReference()
{
    ly_ctx* raw = nullptr;
    check(ly_ctx_new(cli::default_yang_dir().c_str(), LY_CTX_NO_YANGLIBRARY | LY_CTX_DISABLE_SEARCHDIR_CWD, &raw),
          "make a context for");
    context_.reset(raw);
    for (const char* module : {"openconfig-optical-attenuator", "Quarn-KMT-VN-ifmgr-cfg",
                               "Quarn-KMT-VN-controller-ots-cfg", "Quarn-KMT-VN-controller-ots-oper"}) {
        if (ly_ctx_load_module(raw, module, nullptr, nullptr) == nullptr) {
            throw std::runtime_error(std::string("libyang does not load ") + module);
        }
    }
}

void LibyangReference::edit(const std::string& request) const
{
    print(parse(*context_, request, LYD_PARSE_STRICT, LYD_VALIDATE_PRESENT));
}

void LibyangReference::get(const std::string& request, const std::string& reply) const
{
    print(parse(*context_, request, LYD_PARSE_STRICT | LYD_PARSE_ONLY, 0));
    print(parse(*context_, reply, LYD_PARSE_STRICT, LYD_VALIDATE_PRESENT));
}

const LibyangReference& libyang_reference()
{
    static const LibyangReference the_reference;
    return the_reference;
}

} // namespace zpf::bench
