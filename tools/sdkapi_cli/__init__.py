"""The command line `sdkapi`."""
