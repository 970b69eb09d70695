"""What most tests of the upload begin with."""

import pytest

from uploading import UploadDialog, Uploader


@pytest.fixture
def uploads(stage):
    """A host with a report."""
    made = Uploader(stage)
    made.start()
    return made


@pytest.fixture
def dialog(stage):
    return UploadDialog(stage)
