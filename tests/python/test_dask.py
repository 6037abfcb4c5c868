"""Scaling out on Dask's distributed scheduler: a corpus of files, each one task in a worker
process, each task one file through a chain that travels pickled; the files written equal the
serial run's bit for bit."""

import pathlib

import distributed
import numpy as np
import soundfile

import ostrana
from conftest import signal

FILES = 200


def render(chain, source, destination):
    """One task: a file through the chain, with its tail, written as 32-bit float."""
    audio, rate = ostrana.read(source)
    ostrana.write(destination, chain(audio, rate, tail="auto"), rate)
    return destination


def corpus(folder):
    folder.mkdir()
    paths = []
    for index in range(FILES):
        path = folder / f"take-{index:03}.wav"
        channels = 1 + index % 2
        frames = 2000 + 37 * index
        soundfile.write(path, signal(channels, frames, seed=index).T, 44100, subtype="FLOAT")
        paths.append(path)
    return paths


def test_a_local_cluster_renders_a_corpus_as_the_serial_run_does(tmp_path):
    sources = corpus(tmp_path / "in")
    chain = ostrana.Chain([ostrana.Delay(delay_ms=40, feedback_level=0.5),
                           ostrana.Chorus(frequency=0.7)])
    (tmp_path / "serial").mkdir()
    (tmp_path / "dask").mkdir()
    serial = [render(chain, path, tmp_path / "serial" / path.name) for path in sources]
    with distributed.LocalCluster(n_workers=2, threads_per_worker=1, processes=True,
                                  dashboard_address=None,
                                  local_directory=tmp_path / "workers") as cluster:
        with distributed.Client(cluster) as client:
            shared = client.scatter(chain, broadcast=True)
            futures = client.map(render, [shared] * FILES, sources,
                                 [tmp_path / "dask" / path.name for path in sources])
            written = client.gather(futures)
            workers = {pid for pid in client.run(lambda: __import__("os").getpid()).values()}
    assert len(workers) == 2
    assert [pathlib.Path(path).name for path in written] == [path.name for path in serial]
    for expected, path in zip(serial, written):
        assert expected.read_bytes() == pathlib.Path(path).read_bytes(), path
    longest = max(soundfile.info(path).frames for path in serial)
    assert longest > 2000 + 37 * (FILES - 1)  # the tails were rendered
    assert np.any(ostrana.read(serial[-1])[0])
