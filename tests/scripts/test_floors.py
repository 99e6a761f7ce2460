"""Which includes the floors allow. Small projects; nothing is compiled."""
import contextlib
import io
import pathlib
import tempfile
import unittest

import floors

ROOT = pathlib.Path(__file__).resolve().parents[2]

PROJECT = {
    "src/interfaces/Object.h": "",
    "src/automation/Text.h": '#include "interfaces/Object.h"\n',
    "src/automation/Text.cpp": '#include "automation/Text.h"\n#include <windows.h>\n',
    "src/support/Log.h": '#include "automation/Text.h"\n',
    "src/model/Records.h": '#include "automation/Text.h"\n',
    "src/ui/Form.h": '#include "support/Log.h"\n#include "model/Records.h"\n',
    "src/archive/Archive.h": '#include "ui/Form.h"\n#include "Session.h"\n',
    "src/archive/Session.h": "",
    "src/accounting/Access.h": '#include "support/Log.h"\n',
    "src/provider/Provider.cpp": '#include "archive/Archive.h"\n#include "accounting/Access.h"\n',
    "src/component/Exports.cpp": '#include "provider/Provider.h"\n#include "Kandora.h"\n',
    "simulators/archive/store.cpp": '#include "simulators/common/text.h"\n',
    "simulators/common/text.h": '#include "interfaces/Object.h"\n',
    "simulators/archive/tests/store_test.cpp": '#include "simulators/archive/store.cpp"\n#include "tests/support/Folder.h"\n',
    "tools/check/main.cpp": '#include "archive/Archive.h"\n',
    "tests/support/Folder.h": '#include "automation/Text.h"\n',
    "benchmarks/main.cpp": '#include "tests/support/Folder.h"\n',
}


class Floors(unittest.TestCase):
    def setUp(self):
        self.root = pathlib.Path(self.enterContext(tempfile.TemporaryDirectory()))
        for path, text in PROJECT.items():
            (self.root / path).parent.mkdir(parents=True, exist_ok=True)
            (self.root / path).write_text(text, encoding="utf-8")

    def told_of(self, **more):
        """Exit code and output after adding lines to files; `_` stands for a slash, `__` for a dot."""
        for name, line in more.items():
            path = self.root / name.replace("__", ".").replace("_", "/")
            path.write_text(path.read_text(encoding="utf-8") + line + "\n", encoding="utf-8")
        printed = io.StringIO()
        with contextlib.redirect_stdout(printed):
            code = floors.main(str(self.root))
        return code, printed.getvalue()

    def expect_fault(self, text, **more):
        self.assertEqual(self.told_of(**more), (1, text + "\n"))

    def test_that_hold(self):
        self.assertEqual(self.told_of(), (0, ""))

    def test_that_an_include_goes_up(self):
        self.expect_fault("src/automation/Text.cpp:3: automation may not include src/support/Log.h",
                          src_automation_Text__cpp='#include "support/Log.h"')

    def test_that_an_include_goes_up_beside_its_folder(self):
        self.expect_fault("src/model/Records.h:2: model may not include src/ui/Form.h",
                          src_model_Records__h='  #  include "../ui/Form.h"')

    def test_that_an_include_goes_to_the_neighbour(self):
        self.expect_fault("src/accounting/Access.h:2: accounting may not include src/archive/Archive.h",
                          src_accounting_Access__h='#include "archive/Archive.h"')

    def test_that_the_product_includes_what_stands_beside_it(self):
        self.expect_fault("src/provider/Provider.cpp:3: provider may not include tests/support/Folder.h",
                          src_provider_Provider__cpp='#include "tests/support/Folder.h"')

    def test_that_the_public_face_includes_the_inside(self):
        self.expect_fault("src/interfaces/Object.h:1: interfaces may not include src/automation/Text.h",
                          src_interfaces_Object__h='#include "automation/Text.h"')

    def test_that_a_simulator_includes_the_inside_of_the_product(self):
        self.expect_fault("simulators/archive/store.cpp:2: simulators may not include src/automation/Text.h",
                          simulators_archive_store__cpp='#include "automation/Text.h"')

    def test_that_a_tool_includes_a_test(self):
        self.expect_fault("tools/check/main.cpp:2: tools may not include tests/support/Folder.h",
                          tools_check_main__cpp='#include "tests/support/Folder.h"')

    def test_that_several_are_told(self):
        code, text = self.told_of(src_automation_Text__cpp='#include "support/Log.h"\n#include "ui/Form.h"')
        self.assertEqual((code, len(text.splitlines())), (1, 2))

    def test_of_the_project_itself(self):
        self.assertEqual(list(floors.faults(ROOT)), [])
        self.assertEqual({folder.name for folder in (ROOT / "src").iterdir() if folder.is_dir()},
                         set(floors.FLOORS))
