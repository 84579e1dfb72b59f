"""Every name after sycl:: in the library is one of the SYCL 2020 standard, so that any vendor's compiler takes it."""

import pathlib
import re
import sys
import unittest

ROOT = pathlib.Path(sys.argv.pop())
FOLDERS = ["include", "src/device", "src/estimates", "src/host"]

# The names that the library uses, checked against the standard once. A new one is added here after a look at it.
STANDARD = set(
    """
    access access_mode accessor address_space_cast async_handler backend buffer context device errc event exception
    exception_list free get_native group_barrier handler host_accessor info local_accessor mad make_context
    make_error_code make_queue malloc_device malloc_shared maximum memory_scope minimum nd_item nd_range no_init plus
    property_list queue range read_only reduce_over_group sqrt target
    """.split()
)
NESTED = set(
    """
    access::address_space access::decorated access::mode access_mode::read access_mode::read_write access_mode::write
    backend::opencl errc::invalid errc::nd_range errc::runtime event::wait_and_throw info::device memory_scope::device
    memory_scope::work_group target::device
    """.split()
)


def sources():
    for folder in FOLDERS:
        yield from sorted(p for p in (ROOT / folder).rglob("*") if p.suffix in (".hpp", ".cpp"))


def code_of(path):
    """Without comments and strings."""
    text = path.read_text()
    return re.sub(r'//[^\n]*|/\*.*?\*/|"(?:\\.|[^"\\\n])*"', "", text, flags=re.S)


class Names(unittest.TestCase):
    def test_every_name_is_one_of_the_standard(self):
        seen = 0
        for path in sources():
            for name in re.findall(r"\bsycl::([\w:]+)", code_of(path)):
                parts = name.rstrip(":").split("::")
                seen += 1
                with self.subTest(file=path.relative_to(ROOT), name=name):
                    self.assertIn(parts[0], STANDARD)
                    if len(parts) > 1:
                        self.assertIn("::".join(parts[:2]), NESTED)
        self.assertGreater(seen, 500)

    def test_no_namespace_is_opened_that_would_hide_names(self):
        for path in sources():
            with self.subTest(file=path.relative_to(ROOT)):
                self.assertNotRegex(code_of(path), r"using\s+namespace\s+(::)?sycl|namespace\s+\w+\s*=\s*(::)?sycl")

    def test_headers_of_the_runtime_are_the_standard_one(self):
        for path in sources():
            for header in re.findall(r"#\s*include\s*<(sycl/[^>]+|CL/[^>]+)>", path.read_text()):
                with self.subTest(file=path.relative_to(ROOT)):
                    self.assertEqual(header, "sycl/sycl.hpp")


if __name__ == "__main__":
    unittest.main()
