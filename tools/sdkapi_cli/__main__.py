"""python3 -m sdkapi_cli"""
import sys

try:
    from .main import main

    main()
except KeyboardInterrupt:  # while the modules are read
    sys.exit(130)
