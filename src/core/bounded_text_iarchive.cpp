#include "core/bounded_text_iarchive.h"

// The library ships its text reader compiled for its own archive class only; a
// derived reader instantiates the same code for itself.
#include <boost/archive/impl/archive_serializer_map.ipp>
#include <boost/archive/impl/basic_text_iarchive.ipp>
#include <boost/archive/impl/text_iarchive_impl.ipp>

namespace boost::archive {
template class detail::archive_serializer_map<bounded_text_iarchive>;
template class basic_text_iarchive<bounded_text_iarchive>;
template class text_iarchive_impl<bounded_text_iarchive>;
} // namespace boost::archive

bounded_text_iarchive::bounded_text_iarchive(std::istream& is, std::size_t input_size, std::size_t min_element_bytes)
    : text_iarchive_impl(is, 0), start_(is.tellg()), input_size_(input_size),
      min_element_bytes_(min_element_bytes == 0 ? 1 : min_element_bytes)
{
    init();
}

std::size_t bounded_text_iarchive::remaining()
{
    const auto here = is.tellg();
    if (here == std::istream::pos_type(-1) || start_ == std::istream::pos_type(-1))
        refuse();
    const auto used = static_cast<std::size_t>(here - start_);
    return used > input_size_ ? 0 : input_size_ - used;
}

void bounded_text_iarchive::refuse()
{
    throw boost::archive::archive_exception(boost::archive::archive_exception::input_stream_error);
}

void bounded_text_iarchive::load(std::string& s)
{
    // The library's own string reading, with the length checked first.
    std::size_t size = 0;
    *this->This() >> size;
    is.get(); // the blank before the bytes
    if (!is || size > remaining())
        refuse();
    s.resize(size);
    if (size > 0)
        is.read(s.data(), static_cast<std::streamsize>(size));
    if (!is)
        refuse();
}

void bounded_text_iarchive::load(boost::serialization::collection_size_type& count)
{
    text_iarchive_impl::load(count);
    const std::size_t n = count;
    if (n > remaining() / min_element_bytes_)
        refuse();
}
