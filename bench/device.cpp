// SPDX-License-Identifier: Apache-2.0
//
// The device under measurement.
#include "device.hpp"

#include "locate.hpp"
#include "messages.hpp"

namespace zpf::bench {

Device::Device()
    : models_({cli::default_yang_dir()}),
      plugin_(cli::default_plugin()),
      driver_(models_.schema(), plugin_),
      context_(&models_.schema()),
      native_(bridge::parse_native(models_, kNative, "native data")),
      source_(models_.schema(), native_.root())
{}

Tree Device::edit_request(const char* text) const
{
    return bridge::parse_request(models_, text, "edit", ZPF_REQUEST_EDIT_CONFIG).tree;
}

Tree Device::get_request(const char* text) const
{
    return bridge::parse_request(models_, text, "get", ZPF_REQUEST_GET).tree;
}

EditResult Device::edit(const Tree& request)
{
    return driver_.edit(context_, &request.root(), source_, options_);
}

ReadResult Device::get(const Tree& request)
{
    return driver_.read(context_, ZPF_REQUEST_GET, &request.root(), source_);
}

std::string Device::reply_text(const Tree& request)
{
    const ReadResult result = get(request);
    if (result.refusal) {
        throw Failure("the get is refused: " + result.refusal->message);
    }
    return bridge::print_data(models_, result.reply.root(), bridge::Syntax::xml);
}

Device& device()
{
    static Device the_device;
    return the_device;
}

} // namespace zpf::bench
