"""python3 -m sdkapi_cli"""
from .main import main

main()
