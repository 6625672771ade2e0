"""Makes the collection's modules importable without Ansible."""

import pathlib
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[3] /
                       "fleet/plugins"))
